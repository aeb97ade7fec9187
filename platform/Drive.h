#pragma once
// The drive a movie is to be written to: whether it lies on the network, and its free space.
#include <QString>
#include <functional>
#include <optional>

namespace vb {

// True for a UNC name ("//server/share", "\\server\share") and for a path whose folder lies
// on a network or FUSE file system; the mount point that is the longest prefix of the folder
// decides.
bool IsNetworkPath(const QString& path);

// Bytes the user may still write on the file system holding path's folder. Error 76 when
// that folder cannot be looked at (gone, no permission, not a folder).
double FreeSpace(const QString& path);

// Replaces the mount table (/proc/self/mounts text) and the free-space look-up of a folder
// (nullopt: it cannot be looked at). An empty function restores the real one.
void SetDriveProbe(std::function<QString()> mountTable,
                   std::function<std::optional<double>(const QString& folder)> freeBytes);

}  // namespace vb
