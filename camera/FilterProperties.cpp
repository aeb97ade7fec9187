// The camera's settings dialog: the camera's format, size and rate, then one row per control,
// each acting on the camera at once.
#include <algorithm>

#include "CommonModule.h"
#include "DialogHost.h"
#include "Errors.h"
#include "Dialog.h"
#include "Graph.h"
#include "Language.h"
#include "V4l2Controls.h"

namespace tavix::cam {

namespace {

constexpr double kRow = 420, kLabelWidth = 2000, kFieldLeft = 2200, kFieldWidth = 3000, kValueWidth = 700,
                 kMargin = 120, kButton = 1095;

struct Row {
    CameraControl c;
    vb::Label* label = nullptr;
    vb::Label* value = nullptr;  // a slider's number
    vb::Slider* slider = nullptr;
    vb::CheckBox* check = nullptr;
    vb::ComboBox* combo = nullptr;
};

QString SizeText(const CameraFormat& f) { return QStringLiteral("%1 x %2").arg(f.Width).arg(f.Height); }
QString RateText(const CameraFormat& f) { return QStringLiteral("%1 fps").arg(f.Rate(), 0, 'g', 4); }

// The combo's entry of this text, else its first.
void Select(vb::ComboBox& combo, const QString& text) {
    int at = 0;
    for (int i = 0; i < combo.ListCount(); ++i)
        if (combo.List(i) == text) at = i;
    if (combo.ListCount() > 0) combo.SetListIndex(at);
}

}  // namespace

void GraphFileStore::ShowFilterProperties(FilterGraph& graph, FilterInfo& filter, QWidget* owner,
                                          const QString& caption) {
    const std::vector<CameraControl> opened = graph.Controls(filter);
    const std::vector<CameraFormat> offered = graph.Formats(filter);
    const CameraFormat openedFormat = graph.CurrentFormat();
    vb::Dialog form(QStringLiteral("frmCameraProperties"), vb::Dialog::Style::Closable);
    form.SetCaption(caption);
    // While the rows are brought up to date, their events do not act on the camera.
    bool quiet = false;
    std::vector<Row> rows;
    auto refresh = [&] {
        quiet = true;
        for (const CameraControl& now : graph.Controls(filter))
            for (Row& r : rows) {
                if (r.c.Id != now.Id) continue;
                r.c = now;
                const bool movable = !now.Inactive && !now.ReadOnly;
                for (vb::Control* part :
                     std::initializer_list<vb::Control*>{r.label, r.value, r.slider, r.check, r.combo})
                    if (part) part->SetEnabled(movable);
                if (r.slider) r.slider->SetValue(std::clamp(now.Value, now.Minimum, now.Maximum));
                if (r.value) r.value->SetCaption(QString::number(now.Value));
                if (r.check) r.check->SetValue(now.Value ? 1 : 0);
                if (r.combo) {
                    const auto& items = now.MenuItems;
                    const auto at =
                        std::find_if(items.begin(), items.end(), [&](const auto& m) { return m.first == now.Value; });
                    r.combo->SetListIndex(at == items.end() ? -1 : int(at - items.begin()));
                }
            }
        quiet = false;
    };
    // A camera gone while the dialog is open leaves the row without effect, not an error. Each
    // change may free or lock others (an automatic mode), so all rows are read again.
    auto set = [&](const QString& id, int value) {
        if (quiet) return;
        vb::Trap([&] { graph.SetControl(filter, id, value); });
        refresh();
    };

    double top = kMargin;
    // Format, size and rate: each offers what the camera has for the choice before it.
    vb::ComboBox *format = nullptr, *size = nullptr, *rate = nullptr;
    auto chosen = [&]() -> const CameraFormat* {
        for (const CameraFormat& f : offered)
            if (f.Format == format->Text() && SizeText(f) == size->Text() && RateText(f) == rate->Text()) return &f;
        return nullptr;
    };
    auto fill = [&](vb::ComboBox& combo, auto text, auto fits, const QString& keep) {
        combo.Clear();
        QStringList seen;
        for (const CameraFormat& f : offered)
            if (fits(f) && !seen.contains(text(f))) seen << text(f), combo.AddItem(text(f));
        Select(combo, keep);
    };
    auto fillSizes = [&] {
        fill(
            *size, SizeText, [&](const CameraFormat& f) { return f.Format == format->Text(); }, size->Text());
    };
    auto fillRates = [&] {
        fill(
            *rate, RateText,
            [&](const CameraFormat& f) { return f.Format == format->Text() && SizeText(f) == size->Text(); },
            rate->Text());
    };
    auto apply = [&](const CameraFormat* f) {
        if (!f || *f == graph.CurrentFormat()) return;
        if (const int err = vb::Trap([&] { graph.SetFormat(filter, *f); }); err != 0) {
            const QString asked = QStringLiteral("%1 %2 %3").arg(f->Format, SizeText(*f), RateText(*f));
            WriteLog(QStringLiteral("ShowFilterProperties:Format Not Taken.(%1, %2, %3)")
                         .arg(asked)
                         .arg(err)
                         .arg(graph.LastErrorText()));
            vb::Host().MsgBox(GST(20111, asked), vb::vbOKOnly | vb::vbExclamation, GST(11103), &form);
            // The combos show what the camera goes on with.
            quiet = true;
            const CameraFormat now = graph.CurrentFormat();
            Select(*format, now.Format);
            fillSizes();
            Select(*size, SizeText(now));
            fillRates();
            Select(*rate, RateText(now));
            quiet = false;
        }
    };
    if (!offered.empty()) {
        const char* captions[] = {"形式", "サイズ", "フレームレート"};
        vb::ComboBox** combos[] = {&format, &size, &rate};
        for (int i = 0; i < 3; ++i, top += kRow) {
            form.Place(new vb::Label(form, &form, QStringLiteral("lblFormat"), i), kMargin, top + 60, kLabelWidth, 255)
                ->SetCaption(FormText(captions[i]));
            *combos[i] = form.Place(new vb::ComboBox(form, &form, QStringLiteral("cboFormat"), i), kFieldLeft, top,
                                    kFieldWidth, 315);
        }
        quiet = true;
        fill(
            *format, [](const CameraFormat& f) { return f.Format; }, [](const CameraFormat&) { return true; },
            openedFormat.Format);
        fill(
            *size, SizeText, [&](const CameraFormat& f) { return f.Format == format->Text(); }, SizeText(openedFormat));
        fillRates();
        Select(*rate, RateText(openedFormat));
        quiet = false;
        format->OnClick = [&] {
            if (quiet) return;
            quiet = true;
            fillSizes();
            fillRates();
            quiet = false;
            apply(chosen());
        };
        size->OnClick = [&] {
            if (quiet) return;
            quiet = true;
            fillRates();
            quiet = false;
            apply(chosen());
        };
        rate->OnClick = [&] {
            if (!quiet) apply(chosen());
        };
        top += kMargin;
    }

    for (int i = 0; i < int(opened.size()); ++i, top += kRow) {
        Row r{opened[i]};
        const CameraControl& c = r.c;
        r.label = form.Place(new vb::Label(form, &form, QStringLiteral("lblControl"), i), kMargin, top + 60,
                             kLabelWidth, 255);
        r.label->SetCaption(c.Label);
        const QString id = c.Id;
        switch (c.kind) {
        case CameraControl::Integer: {
            auto* slider = r.slider = form.Place(new vb::Slider(form, &form, QStringLiteral("sldControl"), i),
                                                 kFieldLeft, top, kFieldWidth, 375);
            slider->SetRange(c.Minimum, c.Maximum);
            slider->SetTickFrequency(std::max(c.Step, (c.Maximum - c.Minimum) / 10));
            slider->SetLargeChange(std::max(c.Step, (c.Maximum - c.Minimum) / 10));
            slider->OnChange = [&set, id, slider] { set(id, slider->Value()); };
            r.value = form.Place(new vb::Label(form, &form, QStringLiteral("lblValue"), i),
                                 kFieldLeft + kFieldWidth + kMargin, top + 60, kValueWidth - kMargin, 255);
            r.value->SetAlignment(1);
            break;
        }
        case CameraControl::Boolean: {
            auto* check = r.check = form.Place(new vb::CheckBox(form, &form, QStringLiteral("chkControl"), i),
                                               kFieldLeft, top, kFieldWidth, 375);
            check->OnClick = [&set, id, check] { set(id, check->Value()); };
            break;
        }
        case CameraControl::Menu: {
            auto* combo = r.combo = form.Place(new vb::ComboBox(form, &form, QStringLiteral("cboControl"), i),
                                               kFieldLeft, top, kFieldWidth, 315);
            for (const auto& [value, name] : c.MenuItems) combo->AddItem(name);
            combo->OnClick = [&set, id, combo, items = c.MenuItems] {
                if (combo->ListIndex() >= 0) set(id, items[combo->ListIndex()].first);
            };
            break;
        }
        }
        rows.push_back(r);
    }
    refresh();

    const double buttonsTop = top + kMargin;
    const double right = kFieldLeft + kFieldWidth + kValueWidth;
    auto* defaults = form.Place(new vb::CommandButton(form, &form, QStringLiteral("cmdDefaults")), kMargin, buttonsTop,
                                kButton * 1.5, 375);
    defaults->SetCaption(FormText("既定値に戻す"));
    defaults->SetVisible(!opened.empty());
    // The values before their modes: a value is still free to set while its mode is manual.
    defaults->OnClick = [&] {
        std::vector<std::pair<QString, int>> values;
        for (const CameraControl& c : opened) values.emplace_back(c.Id, c.Default);
        SetControls(graph, filter, values, false);
        refresh();
    };
    bool accepted = false;
    auto* ok = form.Place(new vb::CommandButton(form, &form, QStringLiteral("cmdOK")), right - 2 * kButton - kMargin,
                          buttonsTop, kButton, 375, "OK");
    form.SetDefaultButton(ok, [&] {
        accepted = true;
        form.Unload();
    });
    auto* cancel = form.Place(new vb::CommandButton(form, &form, QStringLiteral("cmdCancel")), right - kButton,
                              buttonsTop, kButton, 375);
    cancel->SetCaption(FormText("キャンセル"));
    form.SetCancelButton(cancel, [&] { form.Unload(); });
    form.SetDialogSize(right + kMargin, buttonsTop + 375 + kMargin);

    vb::Host().ShowModal(form, owner);
    // Cancel, or the window closed any other way: the camera gets back what it had.
    if (accepted) return;
    if (!(graph.CurrentFormat() == openedFormat)) vb::Trap([&] { graph.SetFormat(filter, openedFormat); });
    std::vector<std::pair<QString, int>> values;
    for (const CameraControl& c : opened) values.emplace_back(c.Id, c.Value);
    SetControls(graph, filter, values, false);
}

}  // namespace tavix::cam
