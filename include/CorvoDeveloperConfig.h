// DeveloperConfig: the process-wide record of environment, log level and two
// switches, set one by one or from a preset. Only the log level acts inside
// the library, as the Logger's filter level.
#ifndef CORVO_DEVELOPER_CONFIG_H
#define CORVO_DEVELOPER_CONFIG_H

#include "CorvoExport.h"
#include "ZimLogger.h"

#include <string>

namespace Vesk {
namespace Corvo {

// Fixed underlying types: values outside the enumerators are defined
// and refused or ignored by the operations that take them.
enum Environment : int
{
    EnvLocal = 0,
    EnvInternal = 1,
    EnvTest = 2,
    EnvPrivateTest = 3,
    EnvProd = 4
};

enum ConfigPreset : int
{
    PresetProduction = 0,
    PresetTest = 1,
    PresetDeveloper = 2,
    PresetTestNoUpdater = 3
};

class CORVO_API DeveloperConfig
{
public:
    DeveloperConfig(const DeveloperConfig& other);
    DeveloperConfig& operator=(const DeveloperConfig& other);

    static bool devLogEnabled();
    static bool updaterEnabled();
    static Zim::LogLevel logLevel();
    static Environment environment();

    // Set the switch to on; they do not invert.
    static void toggleDevLog(bool on);
    static void toggleUpdater(bool on);
    // Also sets the Logger's filter level, building the Logger if needed.
    static void setLogLevel(Zim::LogLevel level);
    static void setEnvironment(Environment environment);
    // Applies a preset; a value that names none changes nothing.
    static void initConfig(const ConfigPreset& preset);

    // Text to value falls back to the current setting; value to text throws
    // InvalidArgumentException for a value that has no text.
    static Zim::LogLevel logLevelFromString(const std::string& text);
    static Environment envFromString(const std::string& text);
    static std::string logLevelToString(Zim::LogLevel level);
    static std::string envToString(const Environment& environment);

private:
    DeveloperConfig();
    virtual ~DeveloperConfig();
    static DeveloperConfig* instance();

    bool m_devLogEnabled;
    bool m_updaterEnabled;
    Environment m_environment;
    Zim::LogLevel m_logLevel;

    static DeveloperConfig* m_devConfig;
};

} // namespace Corvo
} // namespace Vesk

#endif
