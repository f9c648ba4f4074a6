// The names of the WinSock error codes, in code order.
#include "CorvoSocketErrorDictionary.h"

#include "CorvoNumberToString.h"

#include <initializer_list>

namespace Vesk {
namespace Corvo {

namespace {

// Consecutive codes from `first`, one name each.
struct CodeRun
{
    long first;
    std::initializer_list<const char*> names;
};

} // namespace

Win32SocketErrorDictionary::Win32SocketErrorDictionary()
{
    static const CodeRun runs[] = {
        {6, {"WSA_INVALID_HANDLE"}},
        {8, {"WSA_NOT_ENOUGH_MEMORY"}},
        {87, {"WSA_INVALID_PARAMETER"}},
        {995, {"WSA_OPERATION_ABORTED", "WSA_IO_INCOMPLETE", "WSA_IO_PENDING"}},
        {10004, {"WSAEINTR"}},
        {10009, {"WSAEBADF"}},
        {10013, {"WSAEACCES", "WSAEFAULT"}},
        {10022, {"WSAEINVAL"}},
        {10024, {"WSAEMFILE"}},
        {10035, {"WSAEWOULDBLOCK",   "WSAEINPROGRESS",  "WSAEALREADY",        "WSAENOTSOCK",
                 "WSAEDESTADDRREQ",  "WSAEMSGSIZE",     "WSAEPROTOTYPE",      "WSAENOPROTOOPT",
                 "WSAEPROTONOSUPPORT", "WSAESOCKTNOSUPPORT", "WSAEOPNOTSUPP", "WSAEPFNOSUPPORT",
                 "WSAEAFNOSUPPORT",  "WSAEADDRINUSE",   "WSAEADDRNOTAVAIL",   "WSAENETDOWN",
                 "WSAENETUNREACH",   "WSAENETRESET",    "WSAECONNABORTED",    "WSAECONNRESET",
                 "WSAENOBUFS",       "WSAEISCONN",      "WSAENOTCONN",        "WSAESHUTDOWN",
                 "WSAETOOMANYREFS",  "WSAETIMEDOUT",    "WSAECONNREFUSED",    "WSAELOOP",
                 "WSAENAMETOOLONG",  "WSAEHOSTDOWN",    "WSAEHOSTUNREACH",    "WSAENOTEMPTY",
                 "WSAEPROCLIM",      "WSAEUSERS",       "WSAEDQUOT",          "WSAESTALE",
                 "WSAEREMOTE"}},
        {10091, {"WSASYSNOTREADY", "WSAVERNOTSUPPORTED", "WSANOTINITIALISED"}},
        {10101, {"WSAEDISCON", "WSAENOMORE", "WSAECANCELLED", "WSAEINVALIDPROCTABLE",
                 "WSAEINVALIDPROVIDER", "WSAEPROVIDERFAILEDINIT", "WSASYSCALLFAILURE",
                 "WSASERVICE_NOT_FOUND", "WSATYPE_NOT_FOUND", "WSA_E_NO_MORE", "WSA_E_CANCELLED",
                 "WSAEREFUSED"}},
        {11001, {"WSAHOST_NOT_FOUND", "WSATRY_AGAIN", "WSANO_RECOVERY", "WSANO_DATA",
                 "WSA_QOS_RECEIVERS", "WSA_QOS_SENDERS", "WSA_QOS_NO_SENDERS",
                 "WSA_QOS_NO_RECEIVERS", "WSA_QOS_REQUEST_CONFIRMED", "WSA_QOS_ADMISSION_FAILURE",
                 "WSA_QOS_POLICY_FAILURE", "WSA_QOS_BAD_STYLE", "WSA_QOS_BAD_OBJECT",
                 "WSA_QOS_TRAFFIC_CTRL_ERROR", "WSA_QOS_GENERIC_ERROR", "WSA_QOS_ESERVICETYPE",
                 "WSA_QOS_EFLOWSPEC", "WSA_QOS_EPROVSPECBUF", "WSA_QOS_EFILTERSTYLE",
                 "WSA_QOS_EFILTERTYPE", "WSA_QOS_EFILTERCOUNT", "WSA_QOS_EOBJLENGTH",
                 "WSA_QOS_EFLOWCOUNT", "WSA_QOS_EUNKOWNPSOBJ", "WSA_QOS_EPOLICYOBJ",
                 "WSA_QOS_EFLOWDESC", "WSA_QOS_EPSFLOWSPEC", "WSA_QOS_EPSFILTERSPEC",
                 "WSA_QOS_ESDMODEOBJ", "WSA_QOS_ESHAPERATEOBJ", "WSA_QOS_RESERVED_PETYPE"}},
    };
    for (const CodeRun& run : runs) {
        long code = run.first;
        for (const char* name : run.names)
            m_errors.insert(m_errors.end(), std::make_pair(code++, std::string(name)));
    }
}

Win32SocketErrorDictionary::~Win32SocketErrorDictionary() {}

std::string Win32SocketErrorDictionary::getErrorMessage(long code) const
{
    const std::map<long, std::string>::const_iterator found = m_errors.find(code);
    if (found == m_errors.end())
        return "Unknown Error Code: [" + numberToString(code) + "]";
    return found->second + " [" + numberToString(code) + "]";
}

} // namespace Corvo
} // namespace Vesk
