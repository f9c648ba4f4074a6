// Helpers for checking what an operation throws.
#ifndef CORVO_TEST_SUPPORT_H
#define CORVO_TEST_SUPPORT_H

#include "CorvoException.h"
#include "ReportReason.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <type_traits>
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

inline std::string reportOf(const Vesk::Corvo::Exception& e) { return e.getDescription(); }
inline std::string reportOf(const Vesk::Zim::Exception& e) { return e.getMessage(); }

// Runs f and expects E raised with the reason at the place: the file as the
// repository names it, the qualified function, and the line (any above 0
// when not given). The two roots label their reports alike but for blanks.
template <typename E, typename F>
::testing::AssertionResult raisedAt(F f, const std::string& reason, const std::string& file,
                                    const std::string& function, long line = 0)
{
    try {
        f();
    } catch (const E& e) {
        const bool zim = std::is_same_v<E, Vesk::Zim::Exception>;
        const std::string head = (zim ? "Reason:\t\t" : "Reason:\t  ") + reason + (zim ? "\nFile:\t\t" : "\nFile:\t  ") +
                                 file + (zim ? "\nFunction:\t" : "\nFunction: ") + function +
                                 (zim ? "\nLine:\t\t" : "\nLine:\t  ");
        const std::string report = reportOf(e);
        const long got = report.compare(0, head.size(), head) == 0 ? std::atol(report.c_str() + head.size()) : 0;
        if (line != 0 ? got == line : got > 0)
            return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << "raised with \"" << report << '"';
    } catch (...) {
        return ::testing::AssertionFailure() << "threw another type";
    }
    return ::testing::AssertionFailure() << "did not throw";
}

} // namespace corvo_test

#endif
