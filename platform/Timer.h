#pragma once
// Timer: OnTimer every Interval milliseconds while Enabled.
#include "Control.h"

class QTimer;

namespace vb {

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

}  // namespace vb
