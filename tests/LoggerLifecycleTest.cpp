// The Logger's birth and the developer configuration, in a process that has
// no Logger until these tests make one.
#include "CorvoDeveloperConfig.h"
#include "CorvoException.h"
#include "LogCapture.h"
#include "TestSupport.h"
#include "ZimException.h"
#include "ZimLogger.h"

#include <gtest/gtest.h>

#include <regex>
#include <tuple>

using namespace Vesk::Corvo;
using namespace Vesk::Zim;
using namespace corvo_test;

namespace {

std::tuple<Environment, LogLevel, bool, bool> fields()
{
    return std::make_tuple(DeveloperConfig::environment(), DeveloperConfig::logLevel(),
                           DeveloperConfig::updaterEnabled(), DeveloperConfig::devLogEnabled());
}

} // namespace

// One test, as each step depends on the process state the last one left.
TEST(LoggerLifecycle, FirstUseBuildsTheOnlyLogger)
{
    // Defaults, and a preset that names nothing: no Logger comes into being
    // until the first accessor, which prints its one line.
    Logger* first;
    {
        CoutCapture capture;
        const auto defaults = std::make_tuple(EnvProd, LogNone, true, false);
        EXPECT_EQ(fields(), defaults);
        DeveloperConfig::initConfig(static_cast<ConfigPreset>(4));
        EXPECT_EQ(fields(), defaults);
        EXPECT_EQ(capture.text(), "");
        first = Logger::getSingletonPtr();
        EXPECT_EQ(&Logger::getSingleton(), first);
        EXPECT_EQ(capture.text(), "[INFO][TRACE][DEBUG][WARNING][ERROR][NONE]\n");
    }

    // A second Logger is refused with the hand-written report.
    EXPECT_TRUE(raisedAt<Vesk::Zim::Exception>([] { Logger second(LogInfo); }, "Logger instance already set ",
                                               "ZimLogger", "Logger::Logger", 25));
    EXPECT_EQ(&Logger::getSingleton(), first);

    // Nothing is enabled: records go nowhere until the console is switched on.
    CoutCapture capture;
    first->log(LogError, "t", "dropped");
    EXPECT_EQ(capture.text(), "");
    first->logToConsole(true);
    first->log(LogError, "t", "shown");
    first->log(LogError, "t", std::wstring(L"wide"));
    first->logToConsole(false);
    // Narrow and wide records share the layout.
    const std::string line = "[0-9/]{10} [0-9:]{8} \\[\\[ERROR\\]t\\] ";
    EXPECT_TRUE(std::regex_match(capture.text(), std::regex("([0-9]+) - " + line + "shown\n\\1 - " + line + "wide\n")))
        << capture.text();
}

TEST(DeveloperConfig, PresetsAndTextForms)
{
    Recorder recorder("config");
    // The lowest level that passes the Logger's filter.
    auto lowestPassing = [&] {
        recorder.records.clear();
        for (int level = LogNone; level >= LogInfo; --level)
            Logger::getSingleton().log(static_cast<LogLevel>(level), "t", std::to_string(level));
        return std::stoi(recorder.texts().back());
    };

    // Each preset sets all four fields and the Logger's filter.
    const std::pair<ConfigPreset, std::tuple<Environment, LogLevel, bool, bool>> presets[] = {
        {PresetDeveloper, {EnvTest, LogInfo, false, true}}, {PresetProduction, {EnvProd, LogFlow, true, false}},
        {PresetTestNoUpdater, {EnvTest, LogDebug, false, false}}, {PresetTest, {EnvTest, LogDebug, true, false}}};
    for (const auto& [preset, expected] : presets) {
        DeveloperConfig::initConfig(preset);
        EXPECT_EQ(fields(), expected) << preset;
        EXPECT_EQ(lowestPassing(), std::get<1>(expected)) << preset;
    }

    // The Logger's own setter does not reach the stored level.
    Logger::getSingleton().setLogFilterLevel(LogError);
    EXPECT_EQ(DeveloperConfig::logLevel(), LogDebug);
    EXPECT_EQ(lowestPassing(), LogError);

    // Text forms, both ways.
    for (int level = LogInfo; level <= LogNone; ++level)
        EXPECT_EQ(DeveloperConfig::logLevelFromString(DeveloperConfig::logLevelToString(LogLevel(level))), level);
    for (int environment = EnvLocal; environment <= EnvProd; ++environment)
        EXPECT_EQ(DeveloperConfig::envFromString(DeveloperConfig::envToString(Environment(environment))), environment);
    EXPECT_EQ(DeveloperConfig::envFromString("private-test"), EnvPrivateTest);
    EXPECT_EQ(DeveloperConfig::logLevelToString(LogWarning), "warning");

    // Unknown texts give the current setting.
    DeveloperConfig::setLogLevel(LogFlow);
    DeveloperConfig::setEnvironment(EnvInternal);
    for (const char* text : {"DEBUG", "[DEBUG]", "", "debug "})
        EXPECT_EQ(DeveloperConfig::logLevelFromString(text), LogFlow) << text;
    EXPECT_EQ(DeveloperConfig::envFromString("Prod"), EnvInternal);

    for (int level : {0, 8})
        EXPECT_TRUE(throwsWith<InvalidArgumentException>([&] { DeveloperConfig::logLevelToString(LogLevel(level)); },
                                                         "Invalid log level passed"));
    EXPECT_TRUE(throwsWith<InvalidArgumentException>(
        [] { DeveloperConfig::envToString(static_cast<Environment>(5)); }, "Invalid environment passed"));
}
