// The reason of an exception's report, and what a call did as one line of
// text, for checks that compare them.
#ifndef CORVO_REPORT_REASON_H
#define CORVO_REPORT_REASON_H

#include "CorvoException.h"
#include "CorvoUtf8String.h"
#include "ZimException.h"

#include <stdexcept>
#include <string>
#include <type_traits>

namespace corvo_test {

// The text between the report's first label and "\nFile:".
inline std::string reasonIn(const std::string& report, const std::string& label)
{
    return report.substr(label.size(), report.find("\nFile:") - label.size());
}

inline std::string reasonOf(const Vesk::Corvo::Exception& e) { return reasonIn(e.getDescription(), "Reason:\t  "); }

inline std::string reasonOf(const Vesk::Zim::Exception& e) { return reasonIn(e.getMessage(), "Reason:\t\t"); }

// The text that a check compares: the reason of a Corvo or Zim exception,
// what() of any other.
template <typename E>
std::string textOf(const E& e)
{
    if constexpr (std::is_base_of_v<Vesk::Corvo::Exception, E> || std::is_same_v<Vesk::Zim::Exception, E>)
        return reasonOf(e);
    else
        return e.what();
}

// What running f did, in one line for tables of refusals: "ok", or the class
// and its text, such as "std::length_error: string too long".
template <typename F>
std::string outcomeOf(F f)
{
    try {
        f();
        return "ok";
    } catch (const Vesk::Corvo::StringEncodingException& e) {
        return "StringEncodingException: " + textOf(e);
    } catch (const Vesk::Corvo::Exception& e) {
        return "Exception: " + textOf(e);
    } catch (const utf8::invalid_code_point& e) {
        return std::string("utf8::invalid_code_point: ") + e.what();
    } catch (const utf8::invalid_utf8& e) {
        return std::string("utf8::invalid_utf8: ") + e.what();
    } catch (const utf8::not_enough_room& e) {
        return std::string("utf8::not_enough_room: ") + e.what();
    } catch (const std::out_of_range& e) {
        return std::string("std::out_of_range: ") + e.what();
    } catch (const std::length_error& e) {
        return std::string("std::length_error: ") + e.what();
    } catch (const std::exception& e) {
        return std::string("std::exception: ") + e.what();
    }
}

} // namespace corvo_test

#endif
