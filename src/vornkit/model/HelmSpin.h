#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <functional>

#include "platform/Preferences.h"

namespace vorn {

// The turn of the helm in the menu bar: one brief swing out and back that
// settles exactly at rest. It holds the angle; whoever draws the helm
// redraws on `angleChanged`. Lives on the main thread.
class HelmSpin : public QObject {
    Q_OBJECT

  public:
    // Whether the desktop asks applications to keep still.
    using MotionReduced = std::function<bool()>;

    static constexpr double defaultAmplitude = 39;  // degrees
    static constexpr double defaultDuration = 1.6;  // seconds
    static constexpr int frameMilliseconds = 16;

    HelmSpin(Preferences& preferences, MotionReduced motionReduced,
             double amplitude = defaultAmplitude, double duration = defaultDuration,
             QObject* parent = nullptr);

    double angle() const { return currentAngle; }
    double amplitude() const { return swing; }
    double duration() const { return seconds; }
    bool isTurning() const { return frames.isActive(); }
    // A person may switch the motion off in the settings.
    bool isEnabled() const;

    // Starts one turn, taking over from a turn still running. Does nothing
    // while the desktop asks for reduced motion or the switch is off.
    void spin();
    // Ends a turn at once, at rest.
    void stop();

    // The angle a turn has reached after `progress` (0 to 1) of its time.
    static double angleAt(double progress, double amplitude);

  signals:
    // Only when the angle has moved by a visible step, so a slow swing
    // doesn't redraw the menu bar on every frame.
    void angleChanged();

  private:
    void nextFrame();
    void settle();
    void showAngle(double angle);

    Preferences& preferences;
    MotionReduced motionReduced;
    const double swing;
    const double seconds;

    double currentAngle = 0;
    int drawnStep = 0;
    int ticks = 0;
    int redraws = 0;
    QTimer frames;
    QElapsedTimer elapsed;
};

}  // namespace vorn
