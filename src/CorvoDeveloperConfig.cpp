// DeveloperConfig: settings, presets and the text forms of levels and
// environments.
#include "CorvoDeveloperConfig.h"

#include "CorvoException.h"
#include "CorvoRaise.h"

namespace Vesk {
namespace Corvo {

using Zim::LogLevel;

DeveloperConfig* DeveloperConfig::m_devConfig = nullptr;

namespace {

// Texts by value; index 0 of the levels is unused, as levels start at 1.
const char* const levelTexts[] = {nullptr, "info", "trace", "debug", "flow", "warning", "error", "none"};
const char* const environmentTexts[] = {"local", "internal", "test", "private-test", "prod"};

// The order in which texts are tried when read back.
const LogLevel levelsByLookup[] = {Zim::LogNone, Zim::LogError, Zim::LogWarning, Zim::LogDebug,
                                   Zim::LogFlow, Zim::LogTrace, Zim::LogInfo};
const Environment environmentsByLookup[] = {EnvProd, EnvTest, EnvInternal, EnvPrivateTest, EnvLocal};

struct Preset
{
    Environment environment;
    LogLevel logLevel;
    bool updater;
    bool devLog;
};

const Preset presets[] = {
    {EnvProd, Zim::LogFlow, true, false},   // PresetProduction
    {EnvTest, Zim::LogDebug, true, false},  // PresetTest
    {EnvTest, Zim::LogInfo, false, true},   // PresetDeveloper
    {EnvTest, Zim::LogDebug, false, false}, // PresetTestNoUpdater
};

} // namespace

DeveloperConfig::DeveloperConfig()
    : m_devLogEnabled(false), m_updaterEnabled(true), m_environment(EnvProd), m_logLevel(Zim::LogNone)
{
}

DeveloperConfig::DeveloperConfig(const DeveloperConfig& other)
    : m_devLogEnabled(other.m_devLogEnabled), m_updaterEnabled(other.m_updaterEnabled),
      m_environment(other.m_environment), m_logLevel(other.m_logLevel)
{
}

DeveloperConfig& DeveloperConfig::operator=(const DeveloperConfig& other)
{
    m_devLogEnabled = other.m_devLogEnabled;
    m_updaterEnabled = other.m_updaterEnabled;
    m_environment = other.m_environment;
    m_logLevel = other.m_logLevel;
    return *this;
}

DeveloperConfig::~DeveloperConfig() {}

// Lives until the process ends.
DeveloperConfig* DeveloperConfig::instance()
{
    if (!m_devConfig)
        m_devConfig = new DeveloperConfig;
    return m_devConfig;
}

bool DeveloperConfig::devLogEnabled() { return instance()->m_devLogEnabled; }

bool DeveloperConfig::updaterEnabled() { return instance()->m_updaterEnabled; }

LogLevel DeveloperConfig::logLevel() { return instance()->m_logLevel; }

Environment DeveloperConfig::environment() { return instance()->m_environment; }

void DeveloperConfig::toggleDevLog(bool on) { instance()->m_devLogEnabled = on; }

void DeveloperConfig::toggleUpdater(bool on) { instance()->m_updaterEnabled = on; }

void DeveloperConfig::setLogLevel(LogLevel level)
{
    instance()->m_logLevel = level;
    Zim::Logger::getSingleton().setLogFilterLevel(level);
}

void DeveloperConfig::setEnvironment(Environment environment) { instance()->m_environment = environment; }

void DeveloperConfig::initConfig(const ConfigPreset& preset)
{
    instance();
    if (preset < PresetProduction || preset > PresetTestNoUpdater)
        return;
    const Preset& values = presets[preset];
    setEnvironment(values.environment);
    setLogLevel(values.logLevel);
    toggleUpdater(values.updater);
    toggleDevLog(values.devLog);
}

LogLevel DeveloperConfig::logLevelFromString(const std::string& text)
{
    for (LogLevel level : levelsByLookup)
        if (text == levelTexts[level])
            return level;
    return logLevel();
}

Environment DeveloperConfig::envFromString(const std::string& text)
{
    for (Environment environment : environmentsByLookup)
        if (text == environmentTexts[environment])
            return environment;
    return environment();
}

std::string DeveloperConfig::logLevelToString(LogLevel level)
{
    if (level < Zim::LogInfo || level > Zim::LogNone)
        CORVO_RAISE(InvalidArgumentException, "Invalid log level passed");
    return levelTexts[level];
}

std::string DeveloperConfig::envToString(const Environment& environment)
{
    if (environment < EnvLocal || environment > EnvProd)
        CORVO_RAISE(InvalidArgumentException, "Invalid environment passed");
    return environmentTexts[environment];
}

} // namespace Corvo
} // namespace Vesk
