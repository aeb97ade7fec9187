#include "Timer.h"

#include <QTimer>

#include "DialogHost.h"

namespace vb {

Timer::Timer(Form& form, ContainerBase* container, const QString& name, int index)
    : Control(form, container, name, index), timer_(new QTimer) {
    QObject::connect(timer_, &QTimer::timeout, timer_, [this] { RunEvent(OnTimer); });
}

Timer::~Timer() { delete timer_; }

void Timer::SetEnabled(bool enabled) {
    if (enabled == enabled_) return;
    enabled_ = enabled;
    Restart();
}

void Timer::SetInterval(int ms) {
    if (ms < 0 || ms > 65535) Raise(ErrInvalidPropertyValue);
    interval_ = ms;
    Restart();
}

void Timer::Restart() {
    timer_->stop();
    if (enabled_ && interval_ > 0) timer_->start(interval_);
}

}  // namespace vb
