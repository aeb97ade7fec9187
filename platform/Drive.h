#pragma once
// The drive a movie is to be written to: what kind of storage holds it, and its free space.
#include <QString>
#include <functional>
#include <optional>

namespace vb {

enum class DriveType { Fixed, Removable, Optical, Ram, Network };

// What holds path's folder, as the kernel tells it: a UNC name ("//server/share",
// "\\server\share") is Network; then the file system of the mount that holds the folder (its
// type in the mount table and, on the real system, statfs) tells network, FUSE, RAM and optical
// file systems; then the block device under it (sysfs: its removable flag, optical drives,
// RAM-backed devices, and what device-mapper, md and loop devices sit on).
DriveType TargetDriveType(const QString& path);
inline bool IsFixedDisk(const QString& path) { return TargetDriveType(path) == DriveType::Fixed; }

// Bytes the user may still write on the file system holding path's folder. Error 76 when
// that folder cannot be looked at (gone, no permission, not a folder).
double FreeSpace(const QString& path);

// Replaces the mount table (/proc/self/mounts text) and the free-space look-up of a folder
// (nullopt: it cannot be looked at). An empty function restores the real one.
// While a mount table is set this way, the folder has no block device and statfs is not asked
// unless SetBlockDeviceProbe gives one.
void SetDriveProbe(std::function<QString()> mountTable,
                   std::function<std::optional<double>(const QString& folder)> freeBytes);
// Replaces the folder's block device look-up ("major:minor", empty for none) and the root of
// sysfs ("/sys"). An empty function restores the real ones.
void SetBlockDeviceProbe(std::function<QString(const QString& folder)> deviceOf, const QString& sysfsRoot);

}  // namespace vb
