// Win32Timer: spans on the high-resolution counter, and the time of day.
#include "CorvoTimer.h"
#include "CorvoPlatform.h"

namespace Vesk {
namespace Corvo {

const double Win32Timer::SECONDS_PER_DAY = 86400.0;
const double Win32Timer::SECONDS_PER_HOUR = 3600.0;
const double Win32Timer::SECONDS_PER_MIN = 60.0;
const double Win32Timer::SECONDS_PER_MSEC = 0.001;

namespace {

long long counter()
{
    LARGE_INTEGER count;
    QueryPerformanceCounter(&count);
    return count.QuadPart;
}

} // namespace

Win32Timer::Win32Timer()
{
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    m_frequency = static_cast<double>(frequency.QuadPart);
    m_startCount = counter();
    m_stopCount = counter();
}

Win32Timer::~Win32Timer() {}

void Win32Timer::start() { m_startCount = counter(); }

void Win32Timer::stop() { m_stopCount = counter(); }

double Win32Timer::elapsed(TimerRes resolution)
{
    return static_cast<double>(m_stopCount - m_startCount) / m_frequency * multiplier(resolution);
}

double Win32Timer::current(TimerRes resolution)
{
    return static_cast<double>(counter() - m_startCount) / m_frequency * multiplier(resolution);
}

double Win32Timer::system(TimerRes resolution)
{
    SYSTEMTIME now;
    GetSystemTime(&now);
    const double seconds = now.wHour * SECONDS_PER_HOUR + now.wMinute * SECONDS_PER_MIN +
                           now.wSecond + now.wMilliseconds * SECONDS_PER_MSEC;
    return seconds * multiplier(resolution);
}

double Win32Timer::multiplier(TimerRes resolution)
{
    static const double multipliers[] = {1.0, 10.0, 100.0, 1000.0, 1000000.0, 1000000000.0};
    const unsigned index = static_cast<unsigned>(resolution);
    return index < sizeof multipliers / sizeof multipliers[0] ? multipliers[index] : 1.0;
}

} // namespace Corvo
} // namespace Vesk
