// Helpers for checking what an operation throws.
#ifndef CORVO_TEST_SUPPORT_H
#define CORVO_TEST_SUPPORT_H

#include "CorvoException.h"
#include "ReportReason.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>
#include <vector>

namespace corvo_test {

// Runs f and expects it to throw exactly E (or a descendant) whose what()
// text, or for Corvo and Zim exceptions whose reason, is the given text.
template <typename E, typename F>
::testing::AssertionResult throwsWith(F f, const std::string& text)
{
    try {
        f();
    } catch (const E& e) {
        const std::string got = textOf(e);
        if (got == text)
            return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << "threw with \"" << got << "\", expected \"" << text << "\"";
    } catch (...) {
        return ::testing::AssertionFailure() << "threw another type";
    }
    return ::testing::AssertionFailure() << "did not throw";
}

// Reason, file, function and line of a report, whichever tree it comes from.
struct Place
{
    std::string reason, file, function;
    long line = 0;
};

inline Place placeOf(const std::string& report)
{
    Place place;
    std::istringstream lines(report);
    std::string* fields[] = {&place.reason, &place.file, &place.function};
    std::string line;
    for (std::string* field : fields) {
        std::getline(lines, line);
        const std::size_t value = line.find_first_not_of(" \t", line.find(':') + 1);
        *field = value == std::string::npos ? std::string() : line.substr(value);
    }
    std::getline(lines, line);
    place.line = std::stol(line.substr(line.find(':') + 1));
    return place;
}

inline Place placeOf(const Vesk::Corvo::Exception& e) { return placeOf(e.getDescription()); }
inline Place placeOf(const Vesk::Zim::Exception& e) { return placeOf(e.getMessage()); }

// Runs f and expects E raised with the reason at the place: the file as the
// repository names it, the qualified function, and the line (any above 0
// when not given).
template <typename E, typename F>
::testing::AssertionResult raisedAt(F f, const std::string& reason, const std::string& file,
                                    const std::string& function, long line = 0)
{
    try {
        f();
    } catch (const E& e) {
        const Place got = placeOf(e);
        if (got.reason == reason && got.file == file && got.function == function &&
            (line != 0 ? got.line == line : got.line > 0))
            return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << "raised with \"" << got.reason << "\" at " << got.file << ", "
                                             << got.function << ", line " << got.line;
    } catch (...) {
        return ::testing::AssertionFailure() << "threw another type";
    }
    return ::testing::AssertionFailure() << "did not throw";
}

} // namespace corvo_test

#endif
