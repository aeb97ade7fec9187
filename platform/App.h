#pragma once
#include <QString>

namespace vb {

// App.Path and App.Title. Path is the folder of the running executable, resolved,
// with no trailing "/"; tests point it at a sandbox.
struct App {
    static QString Path();
    static void SetPath(const QString& path);
    static QString Title();
    static void SetTitle(const QString& title);
};

// App.Path + rel, where rel may carry "\" separators (as the ini file's names do).
QString AppPathJoin(const QString& rel);

// "\" to "/".
QString NativePath(const QString& path);

struct Screen {
    static constexpr int TwipsPerPixelX = 15;
    static constexpr int TwipsPerPixelY = 15;
};

}  // namespace vb
