/// \file
/// DeveloperConfig: the process-wide record of environment, log level and two
/// switches, set one by one or from a preset. Only the log level acts inside
/// the library, as the Logger's filter level.
#ifndef CORVO_DEVELOPER_CONFIG_H
#define CORVO_DEVELOPER_CONFIG_H

#include "CorvoExport.h"
#include "ZimLogger.h"

#include <string>

namespace Vesk {
namespace Corvo {

/// Where the application runs. Fixed underlying types: values outside the
/// enumerators are defined and refused or ignored by the operations that
/// take them.
enum Environment : int
{
    EnvLocal = 0,
    EnvInternal = 1,
    EnvTest = 2,
    EnvPrivateTest = 3,
    EnvProd = 4
};

/// A set of values for DeveloperConfig::initConfig:
/// PresetProduction is EnvProd, LogFlow, updater on, developer log off;
/// PresetTest is EnvTest, LogDebug, updater on, developer log off;
/// PresetDeveloper is EnvTest, LogInfo, updater off, developer log on;
/// PresetTestNoUpdater is EnvTest, LogDebug, updater off, developer log off.
enum ConfigPreset : int
{
    PresetProduction = 0,
    PresetTest = 1,
    PresetDeveloper = 2,
    PresetTestNoUpdater = 3
};

/// The process-wide settings, all static; the record is built on first use
/// and lives until the process ends. It starts as EnvProd, LogNone, updater
/// on, developer log off. Not guarded: set it before threads read it.
class CORVO_API DeveloperConfig
{
public:
    /// Copies the four settings.
    DeveloperConfig(const DeveloperConfig& other);
    /// Copies the four settings.
    DeveloperConfig& operator=(const DeveloperConfig& other);

    /// Whether the developer log switch is on.
    static bool devLogEnabled();
    /// Whether the updater switch is on.
    static bool updaterEnabled();
    /// The stored log level (LogNone at first, whatever the Logger filters).
    static Zim::LogLevel logLevel();
    /// The stored environment.
    static Environment environment();

    /// Set the switch to on; they do not invert.
    ///@{
    static void toggleDevLog(bool on);
    static void toggleUpdater(bool on);
    ///@}
    /// Also sets the Logger's filter level, building the Logger if needed
    /// (which prints its line of level names to standard output).
    static void setLogLevel(Zim::LogLevel level);
    /// Stores the environment; nothing acts on it inside the library.
    static void setEnvironment(Environment environment);
    /// Applies a preset, the Logger's filter level included; a value that
    /// names none changes nothing.
    static void initConfig(const ConfigPreset& preset);

    /// Text to value: "info", "trace", "debug", "flow", "warning", "error",
    /// "none"; any other text gives the current setting.
    static Zim::LogLevel logLevelFromString(const std::string& text);
    /// Text to value: "local", "internal", "test", "private-test", "prod";
    /// any other text gives the current setting.
    static Environment envFromString(const std::string& text);
    /// The text of a level, as logLevelFromString reads it. Throws
    /// InvalidArgumentException "Invalid log level passed" outside 1 to 7.
    static std::string logLevelToString(Zim::LogLevel level);
    /// The text of an environment, as envFromString reads it. Throws
    /// InvalidArgumentException "Invalid environment passed" outside 0 to 4.
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
