// The developer toolkit's exception root.
#include "ZimException.h"
#include "CorvoNumberToString.h"

namespace Vesk {
namespace Zim {

// The line goes through unsigned long, so it never prints a sign.
Exception::Exception(const std::string& reason, const std::string& file,
                     const std::string& function, const long& line)
    : m_message("Reason:\t\t" + reason + "\nFile:\t\t" + file + "\nFunction:\t" + function +
                "\nLine:\t\t" + Corvo::numberToString(static_cast<unsigned long>(line)))
{
}

Exception::Exception(const Exception& other) : m_message(other.m_message) {}

Exception& Exception::operator=(const Exception& other)
{
    if (this != &other)
        m_message = other.m_message;
    return *this;
}

Exception::~Exception() {}

std::string Exception::getMessage() const { return m_message; }

} // namespace Zim
} // namespace Vesk
