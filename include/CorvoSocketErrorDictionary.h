/// \file
/// Win32SocketErrorDictionary: WinSock error codes as readable text for the
/// reasons of socket failures.
#ifndef CORVO_SOCKET_ERROR_DICTIONARY_H
#define CORVO_SOCKET_ERROR_DICTIONARY_H

#include "CorvoExport.h"

#include <map>
#include <string>

namespace Vesk {
namespace Corvo {

/// The names of the WinSock error codes; Win32Socket holds one for the
/// process. Nothing throws.
class CORVO_API Win32SocketErrorDictionary
{
public:
    /// Fills the table.
    Win32SocketErrorDictionary();
    /// Frees the table.
    ~Win32SocketErrorDictionary();

    /// "WSAETIMEDOUT [10060]" for a known code, "Unknown Error Code: [0]"
    /// for any other.
    std::string getErrorMessage(long code) const;

private:
    std::map<long, std::string> m_errors;
};

} // namespace Corvo
} // namespace Vesk

#endif
