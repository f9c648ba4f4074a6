/// \file
/// A stopwatch on the platform's high-resolution counter, which also reads
/// the time of day.
#ifndef CORVO_TIMER_H
#define CORVO_TIMER_H

#include "CorvoExport.h"

namespace Vesk {
namespace Corvo {

/// The unit of a result. Any other value reads as seconds, so the type has a
/// fixed underlying type in which such values are well defined.
enum TimerRes : int
{
    RES_SECONDS = 0,
    RES_TENTHS = 1,
    RES_HUNDREDTHS = 2,
    RES_MILLISECONDS = 3,
    RES_MICROSECONDS = 4,
    RES_NANOSECONDS = 5
};

/// A stopwatch; copies keep their readings. Nothing throws and nothing is
/// logged. On Linux the counter is the monotonic clock, in nanoseconds.
class CORVO_API Win32Timer
{
public:
    /// Starts at once: a fresh timer has a valid start.
    Win32Timer();
    /// Nothing to release.
    virtual ~Win32Timer();

    /// Reads the counter as the start.
    void start();
    /// Reads the counter as the stop.
    void stop();
    /// From start to stop; negative when stop came first.
    double elapsed(TimerRes resolution);
    /// From start to now; nothing is stored.
    double current(TimerRes resolution);
    /// The time of day in UTC, from midnight, to the millisecond.
    double system(TimerRes resolution);

private:
    double multiplier(TimerRes resolution);

    static const double SECONDS_PER_DAY;
    static const double SECONDS_PER_HOUR;
    static const double SECONDS_PER_MIN;
    static const double SECONDS_PER_MSEC;

    long long m_startCount;
    long long m_stopCount;
    double m_frequency;
};

} // namespace Corvo
} // namespace Vesk

#endif
