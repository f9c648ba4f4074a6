// Helpers for checking what an operation throws.
#ifndef CORVO_TEST_SUPPORT_H
#define CORVO_TEST_SUPPORT_H

#include "CorvoException.h"
#include "ReportReason.h"

#include <gtest/gtest.h>

#include <string>

namespace corvo_test {

// Runs f and expects it to throw exactly E (or a descendant) whose what()
// text, or for Corvo and Zim exceptions whose reason, is the given text.
template <typename E, typename F>
::testing::AssertionResult throwsWith(F f, const std::string& text)
{
    try {
        f();
    } catch (const E& e) {
        std::string got;
        if constexpr (std::is_base_of_v<Vesk::Corvo::Exception, E> || std::is_same_v<Vesk::Zim::Exception, E>)
            got = reasonOf(e);
        else
            got = e.what();
        if (got == text)
            return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << "threw with \"" << got << "\", expected \"" << text
                                             << "\"";
    } catch (...) {
        return ::testing::AssertionFailure() << "threw another type";
    }
    return ::testing::AssertionFailure() << "did not throw";
}

} // namespace corvo_test

#endif
