// The graph file: our own readable text form of the camera, its device, the negotiated
// size, format and rate, and the values of its controls.
#include <algorithm>

#include "CommonModule.h"
#include "Errors.h"
#include "GraphImpl.h"
#include "TextFile.h"
#include "V4l2Controls.h"

namespace tavix::cam {

namespace {

const QString kHeader = QStringLiteral("TavixGraph 1");

struct GraphFile {
    QString camera, device;
    CameraFormat format;
    std::vector<std::pair<QString, int>> controls;
};

int ToInt(const QString& text) {
    bool ok = false;
    const int v = text.toInt(&ok);
    if (!ok) vb::Raise(vb::ErrTypeMismatch);
    return v;
}

GraphFile Parse(const QStringList& lines) {
    if (lines.isEmpty() || lines.front() != kHeader) vb::Raise(vb::ErrTypeMismatch);
    GraphFile g;
    bool hasCamera = false;
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const QString& line = lines[i];
        if (line.isEmpty()) continue;
        const qsizetype eq = line.indexOf(u'=');
        if (eq <= 0) vb::Raise(vb::ErrTypeMismatch);
        const QString key = line.left(eq), value = line.mid(eq + 1);
        if (key == QLatin1String("camera"))
            g.camera = value, hasCamera = true;
        else if (key == QLatin1String("device"))
            g.device = value;
        else if (key == QLatin1String("width"))
            g.format.Width = ToInt(value);
        else if (key == QLatin1String("height"))
            g.format.Height = ToInt(value);
        else if (key == QLatin1String("format"))
            g.format.Format = value;
        else if (key == QLatin1String("rate")) {
            const QStringList parts = value.split(u'/');
            if (!value.isEmpty()) {
                if (parts.size() != 2) vb::Raise(vb::ErrTypeMismatch);
                g.format.RateNum = ToInt(parts[0]), g.format.RateDen = ToInt(parts[1]);
                if (g.format.RateDen <= 0) vb::Raise(vb::ErrTypeMismatch);
            }
        } else if (key.startsWith(QLatin1String("control.")) && key.size() > 8) {
            g.controls.emplace_back(key.mid(8), ToInt(value));
        }
        // Other keys belong to later versions and are passed over.
    }
    if (!hasCamera || g.format.Width < 0 || g.format.Height < 0 || g.format.RateNum < 0) vb::Raise(vb::ErrTypeMismatch);
    return g;
}

}  // namespace

using Impl = FilterGraph::Impl;

void GraphFileStore::LoadGraphFile(FilterGraph& graph, const QString& path) {
    if (!vb::FileExists(path)) vb::Raise(vb::ErrFileNotFound);
    const GraphFile g = Parse(vb::ReadTextLines(path));
    Impl& d = *graph.d_;
    if (!d.filters.empty()) vb::Raise(vb::ErrInvalidCall);
    // A camera the catalogue does not have leaves the graph empty; the caller rebuilds.
    // Of several devices of one name, the one on the stored path.
    const auto catalogue = d.Catalogue();
    const Impl::Entry* entry = nullptr;
    for (const auto& e : catalogue)
        if (e.reg.Name == g.camera && (!entry || (entry->path != g.device && e.path == g.device))) entry = &e;
    FilterInfo* camera = entry ? entry->reg.Filter() : nullptr;
    if (!camera) return;
    d.format = g.format;
    graph.Render(*camera, camera->Pins().front());
    // Automatic modes first, so that a value stored in manual mode is not refused.
    SetControls(graph, *camera, g.controls, true);
    // Read back: what the camera did not take is logged, and the file gets what it has.
    for (const CameraControl& c : graph.Controls(*camera))
        for (const auto& [id, value] : g.controls)
            if (id == c.Id && value != c.Value)
                WriteLog(
                    QStringLiteral("LoadGraphFile:Control Not Taken.(%1=%2, now %3)").arg(id).arg(value).arg(c.Value));
}

void GraphFileStore::SaveGraphFile(FilterGraph& graph, const QString& path) {
    Impl& d = *graph.d_;
    if (!d.camera) vb::Raise(vb::ErrInvalidCall);
    const CameraFormat format = graph.CurrentFormat();
    QStringList lines{kHeader,
                      QStringLiteral("camera=") + d.camera->name,
                      QStringLiteral("device=") + d.camera->device,
                      QStringLiteral("width=%1").arg(format.Width),
                      QStringLiteral("height=%1").arg(format.Height),
                      QStringLiteral("format=") + format.Format,
                      format.RateNum ? QStringLiteral("rate=%1/%2").arg(format.RateNum).arg(format.RateDen)
                                     : QStringLiteral("rate=")};
    for (const CameraControl& c : graph.Controls(*d.camera))
        lines << QStringLiteral("control.%1=%2").arg(c.Id).arg(c.Value);
    if (const int err = vb::WriteTextFileSafely(path, lines); err != 0) vb::Raise(err);
}

}  // namespace tavix::cam
