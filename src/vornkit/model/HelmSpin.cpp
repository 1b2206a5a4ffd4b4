#include "model/HelmSpin.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numbers>

#include "service/Diagnostics.h"

namespace vorn {

namespace {

// "39.0", "1.6": at least one decimal, and no more than it takes.
std::string decimal(double value) {
    char text[32];
    for (int places = 1; places < 6; ++places) {
        std::snprintf(text, sizeof text, "%.*f", places, value);
        if (std::strtod(text, nullptr) == value) break;
    }
    return text;
}

// Which redraw an angle belongs to: its whole degrees, modulo 60.
int drawStep(double angle) {
    const auto degrees = static_cast<long long>(std::lround(angle));
    return static_cast<int>(((degrees % 60) + 60) % 60);
}

}  // namespace

HelmSpin::HelmSpin(Preferences& preferences, MotionReduced motionReduced, double amplitude,
                   double duration, QObject* parent)
    : QObject(parent),
      preferences(preferences),
      motionReduced(std::move(motionReduced)),
      swing(amplitude),
      seconds(duration) {
    frames.setInterval(frameMilliseconds);
    frames.setTimerType(Qt::PreciseTimer);
    connect(&frames, &QTimer::timeout, this, &HelmSpin::nextFrame);
}

bool HelmSpin::isEnabled() const {
    return preferences.helmMotionEnabled();
}

double HelmSpin::angleAt(double progress, double amplitude) {
    const double t = std::clamp(progress, 0.0, 1.0);
    return amplitude * std::sin(2 * std::numbers::pi * t) * std::sin(std::numbers::pi * t);
}

void HelmSpin::spin() {
    const bool enabled = isEnabled() && !(motionReduced && motionReduced());
    Diagnostics::log([&] {
        return std::string("spin() called \u2014 enabled=") + (enabled ? "true" : "false") +
               " amplitude=" + decimal(swing) + " duration=" + decimal(seconds);
    });
    if (!enabled) return;
    ticks = 0;
    redraws = 0;
    elapsed.start();
    frames.start();
    nextFrame();
}

void HelmSpin::stop() {
    frames.stop();
    showAngle(0);
}

void HelmSpin::nextFrame() {
    ++ticks;
    const double progress = seconds > 0 ? elapsed.nsecsElapsed() / 1e9 / seconds : 1.0;
    if (progress >= 1) {
        settle();
        return;
    }
    showAngle(angleAt(progress, swing));
}

void HelmSpin::settle() {
    frames.stop();
    showAngle(0);
    Diagnostics::log([&] {
        return "  spin finished: " + std::to_string(ticks) + " ticks, " + std::to_string(redraws) +
               " redraws";
    });
}

void HelmSpin::showAngle(double angle) {
    currentAngle = angle;
    const int step = drawStep(angle);
    if (step == drawnStep) return;
    drawnStep = step;
    ++redraws;
    emit angleChanged();
}

}  // namespace vorn
