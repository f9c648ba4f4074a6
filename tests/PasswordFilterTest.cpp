// Logger::filterPassword over a table of texts: each row reaches one step of
// the replacement or one way a pass goes on or ends.
#include "ZimLogger.h"

#include <gtest/gtest.h>

#include <tuple>

using Vesk::Zim::Logger;

TEST(PasswordFilter, MasksValues)
{
    const std::string M = "********";
    // Why, text, filtered text.
    const std::tuple<const char*, std::string, std::string> rows[] = {
        {"no password", "user=x&mode=y", "user=x&mode=y"},
        {"no ? or & before the stem", "password=secret", "password=secret"},
        {"case-sensitive", "?Password=x&PASSWORD=y", "?Password=x&PASSWORD=y"},
        {"blank beside the JSON colon", "{\"password\": \"x\"}", "{\"password\": \"x\"}"},
        // Pass 1: the first ?password= only, list not consulted.
        {"query start up to &", "h/p?password=secret&user=x", "h/p?password=" + M + "&user=x"},
        {"query start to the end", "a?password=se cret, more", "a?password=" + M},
        {"only the first query start", "?password=a&b?password=c", "?password=" + M + "&b?password=c"},
        {"query start with empty value", "?password=&x=1", "?password=&x=1"},
        {"query start at the end", "abc?password=", "abc?password="},
        {"any value, same mask", "?password=" + std::string(1000, 'v'), "?password=" + M},
        // Pass 2: JSON fields, every one.
        {"JSON unclosed", "{\"password\":\"sec ret", "{\"password\":\"" + M},
        {"JSON two fields", "{\"password\":\"a\",\"n\":{\"password\":\"bb\"}}",
         "{\"password\":\"" + M + "\",\"n\":{\"password\":\"" + M + "\"}}"},
        {"JSON empty value", "{\"password\":\"\"}", "{\"password\":\"\"}"},
        {"JSON key at the end", "x{\"password\":\"", "x{\"password\":\""},
        // Pass 3: &password=, with the list when no & follows.
        {"next key up to a blank", "&password=secret tail", "&password=" + M + " tail"},
        {"list order beats distance", "&password=se cr\"et", "&password=" + M + "\"et"},
        {"mask before a blank at the start", "&password= tail", "&password=" + M + " tail"},
        {"next key with empty value", "&password=&next=1", "&password=&next=1"},
        {"next key at the end", "abc&password=", "abc&password="},
        {"start and next key", "?password=a&b=1&password=c", "?password=" + M + "&b=1&password=" + M},
        {"two values in a row", "x&password=a&password=b", "x&password=" + M + "&password=" + M},
        {"three in a row skip the middle", "x&password=a&password=b&password=c",
         "x&password=" + M + "&password=b&password=" + M},
        {"comma ends a value", "&password=abc,def", "&password=" + M + ",def"},
    };
    for (const auto& [why, text, filtered] : rows)
        EXPECT_EQ(Logger::filterPassword(text), filtered) << why;
}
