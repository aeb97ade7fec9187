#include "V4l2Controls.h"

#include <fcntl.h>
#include <linux/videodev2.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>

#include "Errors.h"

namespace tavix::cam {

namespace {

// V4L2 control names as keys: lower case, other characters as '_'.
QString ControlKey(const char* name) {
    QString key;
    for (QChar c : QString::fromLatin1(name).toLower()) key += c.isLetterOrNumber() ? c : QChar(u'_');
    return key;
}

// A V4L2 device opened for its controls only.
class V4l2Device {
public:
    explicit V4l2Device(const QString& path)
        : fd_(path.isEmpty() ? -1 : ::open(path.toLocal8Bit().constData(), O_RDWR | O_NONBLOCK)) {}
    ~V4l2Device() {
        if (fd_ >= 0) ::close(fd_);
    }
    V4l2Device(const V4l2Device&) = delete;
    V4l2Device& operator=(const V4l2Device&) = delete;

    std::vector<std::pair<CameraControl, uint32_t>> Controls() const {
        std::vector<std::pair<CameraControl, uint32_t>> out;
        v4l2_queryctrl q{};
        q.id = V4L2_CTRL_FLAG_NEXT_CTRL;
        while (fd_ >= 0 && ::ioctl(fd_, VIDIOC_QUERYCTRL, &q) == 0) {
            const uint32_t id = q.id;
            q.id |= V4L2_CTRL_FLAG_NEXT_CTRL;
            if (q.flags & V4L2_CTRL_FLAG_DISABLED) continue;
            CameraControl c;
            c.Id = ControlKey(reinterpret_cast<const char*>(q.name));
            c.Label = QString::fromLatin1(reinterpret_cast<const char*>(q.name));
            c.Minimum = q.minimum, c.Maximum = q.maximum, c.Step = std::max(1, int(q.step));
            c.Default = q.default_value;
            c.Inactive = q.flags & V4L2_CTRL_FLAG_INACTIVE;
            c.ReadOnly = q.flags & (V4L2_CTRL_FLAG_READ_ONLY | V4L2_CTRL_FLAG_GRABBED);
            if (q.type == V4L2_CTRL_TYPE_BOOLEAN) {
                c.kind = CameraControl::Boolean;
            } else if (q.type == V4L2_CTRL_TYPE_MENU) {
                c.kind = CameraControl::Menu;
                // Drivers leave gaps: an index they refuse is no entry.
                for (int i = q.minimum; i <= q.maximum; ++i) {
                    v4l2_querymenu m{};
                    m.id = id, m.index = uint32_t(i);
                    if (::ioctl(fd_, VIDIOC_QUERYMENU, &m) == 0)
                        c.MenuItems.emplace_back(i, QString::fromLatin1(reinterpret_cast<const char*>(m.name)));
                }
                if (c.MenuItems.empty()) continue;
            } else if (q.type != V4L2_CTRL_TYPE_INTEGER) {
                continue;  // buttons, strings and classes have no value to keep
            }
            v4l2_control v{id, 0};
            c.Value = ::ioctl(fd_, VIDIOC_G_CTRL, &v) == 0 ? v.value : c.Default;
            out.emplace_back(std::move(c), id);
        }
        return out;
    }
    bool Set(uint32_t id, int value) const {
        v4l2_control v{id, value};
        return fd_ >= 0 && ::ioctl(fd_, VIDIOC_S_CTRL, &v) == 0;
    }

private:
    int fd_;
};

}  // namespace

std::vector<CameraControl> V4l2Controls(const QString& device) {
    std::vector<CameraControl> out;
    for (auto& [control, id] : V4l2Device(device).Controls()) out.push_back(std::move(control));
    return out;
}

void SetV4l2Control(const QString& device, const QString& id, int value) {
    V4l2Device v4l2(device);
    for (const auto& [c, cid] : v4l2.Controls()) {
        if (c.Id != id) continue;
        if (value < c.Minimum || value > c.Maximum) vb::Raise(vb::ErrInvalidPropertyValue);
        if (!v4l2.Set(cid, value)) vb::Raise(vb::ErrDeviceIO);
        return;
    }
    vb::Raise(vb::ErrInvalidCall);
}

void SetControls(FilterGraph& graph, FilterInfo& camera, const std::vector<std::pair<QString, int>>& values,
                 bool modesFirst) {
    const auto controls = graph.Controls(camera);
    auto find = [&](const QString& id) {
        return std::find_if(controls.begin(), controls.end(), [&](const CameraControl& c) { return c.Id == id; });
    };
    // Automatic modes are the booleans and menus; the values they govern are integers.
    std::vector<std::pair<QString, int>> modes, governed, failed;
    for (const auto& [id, value] : values) {
        const auto c = find(id);
        if (c == controls.end() || c->ReadOnly) continue;  // a control this camera lacks, or may not set
        (c->kind == CameraControl::Integer ? governed : modes)
            .emplace_back(id, std::clamp(value, c->Minimum, c->Maximum));
    }
    auto set = [&](const std::vector<std::pair<QString, int>>& list, std::vector<std::pair<QString, int>>* refused) {
        for (const auto& [id, value] : list)
            if (vb::Trap([&] { graph.SetControl(camera, id, value); }) != 0 && refused)
                refused->emplace_back(id, value);
    };
    // A value its mode still governs is refused; it is tried again once the modes are set.
    set(modesFirst ? modes : governed, &failed);
    set(modesFirst ? governed : modes, &failed);
    set(failed, nullptr);
}

}  // namespace tavix::cam
