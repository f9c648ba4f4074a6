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

// Runs f and expects it to throw E (or a descendant) that passes check.
template <typename E, typename F, typename Check>
::testing::AssertionResult raises(F f, Check check)
{
    try {
        f();
    } catch (const E& e) {
        return check(e);
    } catch (...) {
        return ::testing::AssertionFailure() << "threw another type";
    }
    return ::testing::AssertionFailure() << "did not throw";
}

// Expects E whose what() text, or for Corvo and Zim exceptions whose reason,
// is the given text.
template <typename E, typename F>
::testing::AssertionResult throwsWith(F f, const std::string& text)
{
    return raises<E>(f, [&](const E& e) {
        const std::string got = textOf(e);
        return got == text ? ::testing::AssertionSuccess()
                           : ::testing::AssertionFailure() << "threw with \"" << got << "\", expected \"" << text << '"';
    });
}

inline std::string reportOf(const Vesk::Corvo::Exception& e) { return e.getDescription(); }
inline std::string reportOf(const Vesk::Zim::Exception& e) { return e.getMessage(); }

// Expects E raised with the reason at the place: the file as the repository
// names it, the qualified function, and the line (any above 0 when not
// given). The two roots label their reports alike but for blanks.
template <typename E, typename F>
::testing::AssertionResult raisedAt(F f, const std::string& reason, const std::string& file,
                                    const std::string& function, long line = 0)
{
    const bool zim = std::is_same_v<E, Vesk::Zim::Exception>;
    const std::string head = (zim ? "Reason:\t\t" : "Reason:\t  ") + reason + (zim ? "\nFile:\t\t" : "\nFile:\t  ") + file +
                             (zim ? "\nFunction:\t" : "\nFunction: ") + function + (zim ? "\nLine:\t\t" : "\nLine:\t  ");
    return raises<E>(f, [&](const E& e) {
        const std::string report = reportOf(e);
        const long got = report.compare(0, head.size(), head) == 0 ? std::atol(report.c_str() + head.size()) : 0;
        return (line != 0 ? got == line : got > 0) ? ::testing::AssertionSuccess()
                                                   : ::testing::AssertionFailure() << "raised with \"" << report << '"';
    });
}

} // namespace corvo_test

#endif
