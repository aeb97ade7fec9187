#pragma once
// A top-level form: client area in twips, the list of its controls in design order,
// docking of aligned picture boxes, window state, and the Load/Resize/QueryUnload/Unload events.
#include <QKeySequence>
#include <QWidget>
#include <functional>
#include <vector>

class QMimeData;

#include "Controls.h"

namespace vb {

class PictureBox;

// UnloadMode of QueryUnload.
constexpr int vbFormControlMenu = 0;
constexpr int vbFormCode = 1;

class Form : public QWidget, public ContainerBase {
public:
    explicit Form(const QString& name, QWidget* parent = nullptr);
    ~Form() override;

    const QString& Name() const { return name_; }
    QWidget* ClientWidget() const override { return const_cast<Form*>(this); }

    // Every control of the form, in design order ("for each control").
    std::vector<Control*> Controls;
    // Takes ownership; called by the Control constructor.
    void Register(Control* control);
    void Unregister(Control* control);
    Control* FindControl(const QString& name, int index = -1) const;

    QString Caption() const;
    void SetCaption(const QString& caption);
    void SetIcon(const QIcon& icon);

    // Outer size in twips (client plus the window frame, where there is one).
    double Width() const;
    double Height() const;
    // Setting them resizes the window and fires Resize inside the call.
    void SetWidth(double twips);
    void SetHeight(double twips);
    // Client size in twips.
    double ScaleWidth() const;
    double ScaleHeight() const;
    // Sets the client size in twips without firing Resize (the design size before the first show).
    void SetClientSize(double widthTwips, double heightTwips);
    // 0 normal, 1 minimized, 2 maximized.
    int WindowState() const;
    void SetWindowState(int state);

    std::function<void()> OnResize;
    // cancel is an out value; unloadMode 0 for the close box, 1 for Unload from code.
    std::function<void(bool& cancel, int unloadMode)> OnQueryUnload;
    std::function<void(bool& cancel)> OnUnload;

    // Unload from code: QueryUnload with mode 1, then Unload, then the window goes.
    // Returns false when a handler cancelled.
    bool Unload();
    bool Unloaded() const { return unloaded_; }

    // Without a control box the close box does nothing; the dialog's own buttons end it.
    void SetControlBox(bool on) { controlBox_ = on; }

    // A key of the window: fires handler wherever the focus is in the window, unless the
    // focused control uses the key itself (a text box its Delete and Ctrl+C).
    void AddKey(const QKeySequence& key, std::function<void()> handler);
    // Fires what key fires; false when the window has no such key.
    bool PressKey(const QKeySequence& key);
    // Files dropped on the window: allowed says whether a drop is taken now, open takes it.
    void AcceptFileDrops(std::function<bool()> allowed, std::function<void(const QString& path)> open);
    // The file a drop of mime would bring, when it is one local file and the window takes it now.
    QString DroppableFile(const QMimeData* mime) const;
    // Takes a drop of mime as the window does; false when it is refused.
    bool DropFile(const QMimeData* mime);

    // Lays out the aligned areas: top strip full width, then left and right panels below it.
    void LayoutAligned();
    // Fires Resize now when the client size differs from the last one reported.
    void FireResize(bool force = false);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    bool RunUnload(int mode);
    QSize FrameExtra() const;

    QString name_;
    std::vector<std::unique_ptr<Control>> owned_;
    QSize lastReported_{-1, -1};
    int lastState_ = -1;
    bool unloaded_ = false;
    bool inUnload_ = false;
    bool shown_ = false;
    bool inLayout_ = false;
    bool controlBox_ = true;
    std::vector<std::pair<QKeySequence, std::function<void()>>> keys_;
    std::function<bool()> dropAllowed_;
    std::function<void(const QString&)> dropOpen_;
};

}  // namespace vb
