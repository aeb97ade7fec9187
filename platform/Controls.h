#pragma once
// Forms and controls with the geometry, properties and events the program's logic is
// written against: twips, containers by name, Tag, Visible/Enabled, colours 0x00BBGGRR,
// control arrays, and Click fired from code where the logic counts on it.
#include <QFont>
#include <QIcon>
#include <QPointer>
#include <QString>
#include <QWidget>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "Errors.h"

class QTimer;
class QToolButton;
class QCheckBox;
class QComboBox;
class QRadioButton;
class QSlider;
class QLineEdit;
class QLabel;
class QTableWidget;
class QPainter;

namespace vb {

class Form;
class Control;

// System colours (top bit set) as the palette gives them.
constexpr uint32_t vbButtonFace = 0x8000000F;
constexpr uint32_t vbWindowBackground = 0x80000005;
constexpr uint32_t vbWindowText = 0x80000008;
constexpr uint32_t vb3DDKShadow = 0x80000015;
constexpr uint32_t vbButtonText = 0x80000012;

// 0x00BBGGRR (or a system colour) to a QColor, and back.
QColor ToQColor(uint32_t color);
uint32_t FromQColor(const QColor& color);

using Picture = QIcon;

// Anything that holds controls: the form, frames and picture boxes.
class ContainerBase {
public:
    // Children outliving their container are left with no Container.
    virtual ~ContainerBase();
    // The widget that child widgets are parented to; (0,0) is the origin of the scale.
    virtual QWidget* ClientWidget() const = 0;
    // The container's scale to client pixels and back. Forms and frames work in twips.
    virtual double ToPixelX(double x) const { return x / 15.0; }
    virtual double ToPixelY(double y) const { return y / 15.0; }
    virtual double ToPixelW(double w) const { return w / 15.0; }
    virtual double ToPixelH(double h) const { return h / 15.0; }
    virtual double FromPixelX(double px) const { return px * 15.0; }
    virtual double FromPixelY(double py) const { return py * 15.0; }
    virtual double FromPixelW(double pw) const { return pw * 15.0; }
    virtual double FromPixelH(double ph) const { return ph * 15.0; }
    // Windowless children (Line, Shape) ask to be drawn again over the part (client pixels)
    // where they were or now are.
    virtual void RepaintOverlay(const QRect& /*area*/) {}
    // Called when the scale changes, so children can be placed again.
    void PlaceChildren();
    std::vector<Control*> Children;
};

class Control {
public:
    Control(Form& form, ContainerBase* container, const QString& name, int index = -1);
    virtual ~Control();
    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;

    const QString& Name() const { return name_; }
    int Index() const { return index_; }
    Form& ParentForm() const { return form_; }
    ContainerBase* Container() const { return container_; }
    QString Tag;

    // null for windowless controls (Timer, Line, Shape, Image, CommonDialog).
    virtual QWidget* Widget() const { return nullptr; }
    // Line and Shape have no Enabled: area commands pass them over.
    virtual bool HasEnabled() const { return true; }
    // A windowless control has no place of its own (Timer, CommonDialog).
    virtual bool HasGeometry() const { return true; }

    // The control's own Enabled: a disabled container disables what it holds without this changing.
    virtual bool Enabled() const;
    virtual void SetEnabled(bool enabled);
    // The control's own Visible flag.
    virtual bool Visible() const;
    virtual void SetVisible(bool visible);
    // Moves the keyboard focus here; a hidden or disabled control, or one with no window, is error 5.
    void SetFocus();

    // Geometry in the container's scale units.
    double Left() const { return left_; }
    double Top() const { return top_; }
    double Width() const { return width_; }
    double Height() const { return height_; }
    virtual void SetLeft(double v);
    virtual void SetTop(double v);
    virtual void SetWidth(double v);
    virtual void SetHeight(double v);
    void Move(double left, double top, double width, double height);
    // Maps the stored geometry onto the widget (again, e.g. after the container's scale changed).
    virtual void ApplyGeometry();

    virtual QString Caption() const { return {}; }
    virtual void SetCaption(const QString&) {}

    uint32_t BackColor() const { return backColor_; }
    uint32_t ForeColor() const { return foreColor_; }
    virtual void SetBackColor(uint32_t color);
    virtual void SetForeColor(uint32_t color);

    QString FontName() const;
    double FontSize() const;
    bool FontBold() const;
    virtual void SetFontName(const QString& name);
    virtual void SetFontSize(double points);
    virtual void SetFontBold(bool bold);
    const QFont& Font() const { return font_; }

    std::function<void()> OnClick;

protected:
    virtual void ApplyFont();
    virtual void ApplyColors();
    // Derived classes call this once their widget exists.
    void AttachWidget();

    Form& form_;
    ContainerBase* container_;
    QString name_;
    int index_;
    double left_ = 0, top_ = 0, width_ = 0, height_ = 0;
    bool enabled_ = true;
    bool visible_ = true;
    uint32_t backColor_ = vbButtonFace;
    uint32_t foreColor_ = vbButtonText;
    bool colorsSet_ = false;
    QFont font_;

private:
    friend class ContainerBase;
    // Guarded: the widget may go with its container's widget first.
    QPointer<QWidget> widget_;
};

// Push button; "graphical" puts the picture above the caption.
class CommandButton : public Control {
public:
    CommandButton(Form& form, ContainerBase* container, const QString& name, int index = -1, bool graphical = false);
    QWidget* Widget() const override;
    QString Caption() const override;
    void SetCaption(const QString& caption) override;
    const Picture& GetPicture() const { return picture_; }
    void SetPicture(const Picture& picture);
    void SetDisabledPicture(const Picture& picture);
    bool Graphical() const { return graphical_; }
    // Presses the button as a user would.
    void Click();

protected:
    // For subclasses that bring their own button.
    CommandButton(Form& form, ContainerBase* container, const QString& name, int index, bool graphical,
                  QToolButton* button);
    // A press by the user (or Click()).
    virtual void UserClicked();
    void ApplyGeometry() override;
    QToolButton* button_;
    Picture picture_;
    Picture disabledPicture_;
    bool graphical_;
    void UpdateIcon();
};

// Check box; "graphical" is a button that stays pressed while checked.
class CheckBox : public CommandButton {
public:
    CheckBox(Form& form, ContainerBase* container, const QString& name, int index = -1, bool graphical = false);
    int Value() const;
    // Fires Click when the value changes, as a user's click does.
    void SetValue(int value);

protected:
    void UserClicked() override;

private:
    int value_ = 0;
};

// Option button: one of the options of its container is on.
class OptionButton : public Control {
public:
    OptionButton(Form& form, ContainerBase* container, const QString& name, int index = -1);
    QWidget* Widget() const override;
    QString Caption() const override;
    void SetCaption(const QString& caption) override;
    bool Value() const;
    // Setting True turns the container's other options off and fires Click, as a user's click does.
    void SetValue(bool value);

private:
    QRadioButton* radio_;
};

// Slider with a value between Min and Max; Change fires whenever the value changes.
class Slider : public Control {
public:
    Slider(Form& form, ContainerBase* container, const QString& name, int index = -1);
    QWidget* Widget() const override;
    int Min() const;
    int Max() const;
    void SetRange(int min, int max);
    int Value() const;
    // Outside Min..Max is error 380. Fires Change inside the call when the value changes.
    void SetValue(int value);
    void SetTickFrequency(int step);
    void SetLargeChange(int step);
    std::function<void()> OnChange;

private:
    QSlider* slider_;
    bool settingFromCode_ = false;
};

// Drop-down list.
class ComboBox : public Control {
public:
    ComboBox(Form& form, ContainerBase* container, const QString& name, int index = -1);
    QWidget* Widget() const override;
    void Clear();
    void AddItem(const QString& item);
    int ListCount() const;
    QString List(int i) const;
    int ListIndex() const;
    // Fires Click inside the call, as the logic counts on.
    void SetListIndex(int index);
    // Replaces the text of entry i in place; the selection stays. Outside the list: error 381.
    void SetList(int i, const QString& item);
    QString Text() const;

private:
    QComboBox* combo_;
    bool settingFromCode_ = false;
};

class TextBox : public Control {
public:
    TextBox(Form& form, ContainerBase* container, const QString& name, int index = -1);
    QWidget* Widget() const override;
    QString Text() const;
    void SetText(const QString& text);
    int MaxLength() const;
    void SetMaxLength(int n);
    bool Locked() const;
    void SetLocked(bool locked);
    std::function<void()> OnChange;

private:
    friend class TextLengthLimit;
    QLineEdit* edit_;
    int maxLength_ = 0;
    int lastLength_ = 0;
    bool settingText_ = false;
};

class Label : public Control {
public:
    Label(Form& form, ContainerBase* container, const QString& name, int index = -1);
    QWidget* Widget() const override;
    QString Caption() const override;
    void SetCaption(const QString& caption) override;
    // 0 left, 1 right, 2 centre.
    void SetAlignment(int alignment);
    // 0 none, 1 fixed single.
    void SetBorderStyle(int style);
    void ApplyGeometry() override;

protected:
    void ApplyFont() override;

private:
    QLabel* label_;
};

// A frame; with a caption it draws a titled border, without one it is a bare panel.
class Frame : public Control, public ContainerBase {
public:
    Frame(Form& form, ContainerBase* container, const QString& name, int index = -1, bool border = true);
    QWidget* Widget() const override;
    QWidget* ClientWidget() const override;
    QString Caption() const override;
    void SetCaption(const QString& caption) override;

private:
    QWidget* frame_;
    bool border_;
};

// A windowless item (line or shape) drawn by its container above the canvas. No Enabled:
// area commands pass it over. Every change asks the container to draw the items again,
// which never repaints the picture under them.
class OverlayItem : public Control {
public:
    OverlayItem(Form& form, ContainerBase* container, const QString& name, int index);
    ~OverlayItem() override;
    bool HasEnabled() const override { return false; }
    bool Enabled() const override { return true; }
    void SetEnabled(bool) override {}
    bool Visible() const override { return visible_; }
    void SetVisible(bool visible) override;
    uint32_t BorderColor() const { return borderColor_; }
    void SetBorderColor(uint32_t color);
    int BorderWidth() const { return borderWidth_; }
    void SetBorderWidth(int pixels);
    // Draws itself with the container's mapping.
    virtual void Paint(QPainter& painter) const = 0;

protected:
    // Repaints where the item stood and where it stands now, nothing else: moving a rubber
    // line over a large picture costs only the strip it sweeps.
    void Repaint() const;
    // The client pixels the item covers, its border included.
    virtual QRect PixelBounds() const = 0;
    uint32_t borderColor_ = 0;
    int borderWidth_ = 1;

private:
    mutable QRect shown_;
};

class LineControl : public OverlayItem {
public:
    LineControl(Form& form, ContainerBase* container, const QString& name, int index = -1);
    double X1() const { return x1_; }
    double Y1() const { return y1_; }
    double X2() const { return x2_; }
    double Y2() const { return y2_; }
    void SetX1(double v) { SetPoints(v, y1_, x2_, y2_); }
    void SetY1(double v) { SetPoints(x1_, v, x2_, y2_); }
    void SetX2(double v) { SetPoints(x1_, y1_, v, y2_); }
    void SetY2(double v) { SetPoints(x1_, y1_, x2_, v); }
    void SetPoints(double x1, double y1, double x2, double y2);
    void ApplyGeometry() override {}
    void Paint(QPainter& painter) const override;

protected:
    QRect PixelBounds() const override;

private:
    double x1_ = 0, y1_ = 0, x2_ = 0, y2_ = 0;
};

// Rectangle, square, oval or circle in its box.
class Shape : public OverlayItem {
public:
    enum Kind { Rectangle = 0, Square = 1, Oval = 2, Circle = 3, RoundedRectangle = 4, RoundedSquare = 5 };
    Shape(Form& form, ContainerBase* container, const QString& name, int index = -1);
    int ShapeKind() const { return kind_; }
    void SetShapeKind(int kind);
    // The box is stored as given; drawing maps it through the container.
    void ApplyGeometry() override { Repaint(); }
    void Paint(QPainter& painter) const override;

protected:
    QRect PixelBounds() const override;

private:
    int kind_ = Rectangle;
};

// A hidden holder of one picture (an icon).
class Image : public Control {
public:
    Image(Form& form, ContainerBase* container, const QString& name, int index = -1);
    bool Visible() const override { return visible_; }
    void SetVisible(bool visible) override { visible_ = visible; }
    const Picture& GetPicture() const { return picture_; }
    void SetPicture(const Picture& picture) { picture_ = picture; }

private:
    Picture picture_;
};

class Timer : public Control {
public:
    Timer(Form& form, ContainerBase* container, const QString& name, int index = -1);
    ~Timer() override;
    bool HasGeometry() const override { return false; }
    bool Enabled() const override { return enabled_; }
    void SetEnabled(bool enabled) override;
    bool Visible() const override { return false; }
    void SetVisible(bool) override {}
    int Interval() const { return interval_; }
    void SetInterval(int ms);
    std::function<void()> OnTimer;
    void ApplyGeometry() override {}

private:
    void Restart();
    QTimer* timer_;
    int interval_ = 0;
};

// The result grid: Rows x Cols cells, FixedRows header rows.
class FlexGrid : public Control {
public:
    FlexGrid(Form& form, ContainerBase* container, const QString& name, int index = -1);
    ~FlexGrid() override;
    QWidget* Widget() const override;
    int Rows() const;
    void SetRows(int rows);
    int Cols() const;
    void SetCols(int cols);
    int FixedRows() const { return fixedRows_; }
    void SetFixedRows(int rows);
    QString TextMatrix(int row, int col) const;
    void SetTextMatrix(int row, int col, const QString& text);
    // Width in twips.
    double ColWidth(int col) const;
    void SetColWidth(int col, double twips);
    // 0-2 left, 3-5 centre, 6-8 right, each top/centre/bottom; 9 general (numbers right).
    int ColAlignment(int col) const;
    void SetColAlignment(int col, int alignment);
    int FixedAlignment(int col) const;
    void SetFixedAlignment(int col, int alignment);
    QTableWidget* Table() const { return table_; }
    void ApplyFont() override;

    // The selection: the block from Row to RowSel and from Col to ColSel, either way round.
    // Setting Row collapses the rows to it, setting Col the columns, as a click does.
    int Row() const { return row_; }
    int RowSel() const { return rowSel_; }
    int Col() const { return col_; }
    int ColSel() const { return colSel_; }
    void SetRow(int row);
    void SetRowSel(int row);
    void SetCol(int col);
    void SetColSel(int col);
    // Once for every change of the block of selected rows: by mouse, keyboard or code.
    std::function<void()> OnSelChange;

    // For the grid's event filter.
    bool HandleInput(QObject* watched, QEvent* event);

private:
    void Select(int row, int rowSel, int col, int colSel, bool fromUser);
    void ShowSelection();
    // A row or column outside the grid is error 381.
    void CheckCol(int col) const;
    void CheckCell(int row, int col) const;
    void ApplyAlignment(int row, int col);
    // Widens the column to its widest text, never below the width set by code.
    void FitColumn(int col);
    int TextWidth(const QString& text) const;
    int BorderAt(int x) const;
    QTableWidget* table_;
    QObject* input_;
    int fixedRows_ = 1;
    std::vector<int> colAlign_;
    std::vector<int> fixedAlign_;
    std::vector<double> colWidth_;
    int row_ = 1, rowSel_ = 1, col_ = 0, colSel_ = 0;
    int resizing_ = -1;  // the column whose right border the user drags
};

// The ending of the first pattern of the filter's index-th type (from 1), ".bmp" of
// "Bitmap|*.bmp;*.dib"; empty when that pattern has no fixed ending ("*.*", "*").
QString FilterEnding(const QString& filter, int index);

// The file and colour dialogs, run through the dialog host.
class CommonDialog : public Control {
public:
    CommonDialog(Form& form, ContainerBase* container, const QString& name, int index = -1);
    bool HasGeometry() const override { return false; }
    bool Visible() const override { return false; }
    void SetVisible(bool) override {}
    void ApplyGeometry() override {}
    QString DialogTitle;
    QString Filter;
    int FilterIndex = 1;
    QString FileName;
    QString InitDir;
    int Flags = 0;
    uint32_t Color = 0;
    bool CancelError = false;
    // On Cancel: error 32755 when CancelError, else FileName is left empty.
    void ShowOpen();
    void ShowSave();
    void ShowColor();

private:
    bool RunFileDialog(bool save);
};

// Elements of a control array that can be loaded and unloaded at run time (index 0 from the design).
template <class T>
class ControlArray {
public:
    using Factory = std::function<T*(int index)>;
    void SetFactory(Factory factory) { factory_ = std::move(factory); }
    void Add(T* element) { items_.push_back(element); }
    // An index with no element is error 9.
    T* operator[](int i) const {
        if (!Exists(i)) Raise(ErrSubscript);
        return items_[static_cast<size_t>(i)];
    }
    T* operator()(int i) const { return (*this)[i]; }
    int UBound() const { return static_cast<int>(items_.size()) - 1; }
    bool Exists(int i) const { return i >= 0 && i < static_cast<int>(items_.size()) && items_[static_cast<size_t>(i)]; }
    // A new element at index i, made by the factory. An index in use is error 360.
    T* Load(int i) {
        if (i < 0) Raise(ErrSubscript);
        if (Exists(i)) Raise(ErrAlreadyLoaded);
        if (static_cast<size_t>(i) >= items_.size()) items_.resize(static_cast<size_t>(i) + 1, nullptr);
        items_[static_cast<size_t>(i)] = factory_(i);
        return items_[static_cast<size_t>(i)];
    }
    // Removes a loaded element; the design's element 0 cannot be unloaded (error 362).
    void Unload(int i) {
        if (!Exists(i)) Raise(ErrArrayElementNotExists);
        if (i == 0) Raise(ErrCantUnloadDesignElement);
        delete items_[static_cast<size_t>(i)];
        items_[static_cast<size_t>(i)] = nullptr;
        while (!items_.empty() && !items_.back()) items_.pop_back();
    }
    const std::vector<T*>& Items() const { return items_; }

private:
    Factory factory_;
    std::vector<T*> items_;
};

}  // namespace vb
