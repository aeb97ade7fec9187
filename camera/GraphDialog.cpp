// The camera's settings dialog: one row per control, each acting on the camera at once.
#include "DialogHost.h"
#include "Errors.h"
#include "Form.h"
#include "Graph.h"
#include "Language.h"

namespace tavix::cam {

namespace {

constexpr double kRow = 420, kLabelWidth = 2000, kFieldLeft = 2200, kFieldWidth = 3000, kMargin = 120;

}  // namespace

void GraphFileStore::ShowFilterProperties(FilterGraph& graph, FilterInfo& filter, QWidget* owner,
                                          const QString& caption) {
    const std::vector<CameraControl> opened = graph.Controls(filter);
    vb::Form form(QStringLiteral("frmCameraProperties"));
    form.setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint);
    form.SetCaption(caption);
    // A camera gone while the dialog is open leaves the row without effect, not an error.
    auto set = [&graph, &filter](const QString& id, int value) {
        vb::Trap([&] { graph.SetControl(filter, id, value); });
    };

    for (int i = 0; i < int(opened.size()); ++i) {
        const CameraControl& c = opened[i];
        const double top = kMargin + kRow * i;
        auto* label = new vb::Label(form, &form, QStringLiteral("lblControl"), i);
        label->Move(kMargin, top + 60, kLabelWidth, 255);
        label->SetCaption(c.Label);
        switch (c.kind) {
        case CameraControl::Integer: {
            auto* slider = new vb::Slider(form, &form, QStringLiteral("sldControl"), i);
            slider->Move(kFieldLeft, top, kFieldWidth, 375);
            slider->SetRange(c.Minimum, c.Maximum);
            slider->SetTickFrequency(std::max(c.Step, (c.Maximum - c.Minimum) / 10));
            slider->SetValue(std::clamp(c.Value, c.Minimum, c.Maximum));
            slider->OnChange = [=] { set(c.Id, slider->Value()); };
            break;
        }
        case CameraControl::Boolean: {
            auto* check = new vb::CheckBox(form, &form, QStringLiteral("chkControl"), i);
            check->Move(kFieldLeft, top, kFieldWidth, 375);
            check->SetValue(c.Value ? 1 : 0);
            check->OnClick = [=] { set(c.Id, check->Value()); };
            break;
        }
        case CameraControl::Menu: {
            auto* combo = new vb::ComboBox(form, &form, QStringLiteral("cboControl"), i);
            combo->Move(kFieldLeft, top, kFieldWidth, 315);
            for (const QString& item : c.MenuItems) combo->AddItem(item);
            combo->SetListIndex(c.Value - c.Minimum);
            combo->OnClick = [=] { set(c.Id, c.Minimum + combo->ListIndex()); };
            break;
        }
        }
    }
    const double buttonsTop = kMargin + kRow * double(opened.size()) + kMargin;
    bool accepted = false;
    auto* ok = new vb::CommandButton(form, &form, QStringLiteral("cmdOK"));
    ok->Move(kFieldLeft + kFieldWidth - 2 * 1095 - kMargin, buttonsTop, 1095, 375);
    ok->SetCaption(QStringLiteral("OK"));
    ok->OnClick = [&] {
        accepted = true;
        form.Unload();
    };
    auto* cancel = new vb::CommandButton(form, &form, QStringLiteral("cmdCancel"));
    cancel->Move(kFieldLeft + kFieldWidth - 1095, buttonsTop, 1095, 375);
    cancel->SetCaption(FormText("キャンセル"));
    cancel->OnClick = [&] { form.Unload(); };
    form.SetClientSize(kFieldLeft + kFieldWidth + kMargin, buttonsTop + 375 + kMargin);

    vb::Host().ShowModal(form, owner);
    // Cancel, or the window closed any other way: the camera gets back what it had.
    if (!accepted)
        for (const CameraControl& c : opened) set(c.Id, c.Value);
}

}  // namespace tavix::cam
