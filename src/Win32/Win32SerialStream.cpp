// A serial port through the platform's communications calls.
#include "CorvoSerialStream.h"

#include "CorvoException.h"
#include "CorvoNumberToString.h"
#include "CorvoPlatform.h"
#include "CorvoRaise.h"
#include "CorvoReadBlock.h"
#include "CorvoString.h"
#include "PlatformSupport.h"
#include "ZimLogger.h"

#include <cstring>

namespace Vesk {
namespace Corvo {

static_assert(sizeof(DCB) == 28, "the DCB is held in 28 bytes");

const unsigned long Win32SerialStream::COMM_IN_QUEUE_SIZE = 4096;
const unsigned long Win32SerialStream::COMM_OUT_QUEUE_SIZE = 4096;

namespace {

const DWORD allPurges = PURGE_TXABORT | PURGE_RXABORT | PURGE_TXCLEAR | PURGE_RXCLEAR;

void logCall(const char* tag, const std::string& text)
{
    Zim::Logger::getSingleton().log(Zim::LogDebug, tag, text);
}

} // namespace

Win32SerialStream::Win32SerialStream() : m_handle(INVALID_HANDLE_VALUE)
{
    std::memset(m_dcb, 0, sizeof m_dcb);
}

Win32SerialStream::~Win32SerialStream() {}

void Win32SerialStream::open(const std::string& port, Bps bps, DataBits dataBits, Parity parity,
                             StopBits stopBits)
{
    logCall("Vesk::Corvo::Win32SerialStream::open",
            "Win32SerialStream::open( COM" + port + ", " + numberToString(bps) + "Bps, DataBits:" +
                numberToString(dataBits) + ", Parity: " + numberToString(parity) +
                ", Stop bits:" + numberToString(stopBits) + " )");

    m_handle = CreateFileW(str_to_tstr("COM" + port).c_str(), GENERIC_READ | GENERIC_WRITE,
                           FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    if (m_handle == INVALID_HANDLE_VALUE)
        CORVO_RAISE(SerialStreamException, "Win32SerialStream::open(): Failed to open the port!");

    DCB& dcb = *detail::platformObject<DCB>(m_dcb);
    if (!GetCommState(m_handle, &dcb))
        CORVO_RAISE(SerialStreamException, "Win32SerialStream::open(): Failed to get current port settings!");

    dcb.DCBlength = sizeof(DCB);
    dcb.BaudRate = static_cast<DWORD>(bps);
    dcb.fBinary = 1;
    dcb.fParity = parity != 0 ? 1 : 0;
    dcb.fOutxCtsFlow = 0;
    dcb.fOutxDsrFlow = 0;
    dcb.fDtrControl = DTR_CONTROL_ENABLE;
    dcb.fOutX = 0;
    dcb.fInX = 0;
    dcb.fRtsControl = RTS_CONTROL_ENABLE;
    dcb.XonLim = 100;
    dcb.XoffLim = 100;
    dcb.ByteSize = static_cast<BYTE>(dataBits);
    dcb.Parity = static_cast<BYTE>(parity);
    dcb.StopBits = stopBits == 1 ? ONESTOPBIT : TWOSTOPBITS;

    if (!SetCommState(m_handle, &dcb))
        CORVO_RAISE(SerialStreamException, "Win32SerialStream::open(): Failed to set port parameters!");
    if (!SetCommMask(m_handle, EV_RXCHAR | EV_ERR))
        CORVO_RAISE(SerialStreamException, "Win32SerialStream::open(): Failed to sert port mask!");
    if (!SetupComm(m_handle, COMM_IN_QUEUE_SIZE, COMM_OUT_QUEUE_SIZE))
        CORVO_RAISE(SerialStreamException, "Win32SerialStream::open(): Failed to set port FIFO size!");
    if (!PurgeComm(m_handle, allPurges))
        CORVO_RAISE(SerialStreamException, "Win32SerialStream::open(): Failed to purge port !");
}

void Win32SerialStream::close()
{
    logCall("Vesk::Corvo::Win32SerialStream::close", "Win32SerialStream::close()");
    CloseHandle(m_handle);
    m_handle = INVALID_HANDLE_VALUE;
    std::memset(m_dcb, 0, sizeof m_dcb);
}

Packet_T<char> Win32SerialStream::read(unsigned int size)
{
    logCall("Vesk::Corvo::Win32SerialStream::read", "Win32SerialStream::read()");
    detail::ReadBlock block(size);
    char* at = block.data();
    unsigned int remaining = size;
    do {
        DWORD count = 0;
        if (!ReadFile(m_handle, at, remaining, &count, nullptr))
            CORVO_RAISE(SerialStreamException, "Win32SerialStream::read(): Failed to read !");
        at += count;
        remaining -= count;
    } while (remaining != 0);
    return block.packet(size);
}

bool Win32SerialStream::write(const Packet_T<char>& packet)
{
    logCall("Vesk::Corvo::Win32SerialStream::write",
            "Win32SerialStream::write(" + numberToString(packet.m_size) + " bytes  )");
    DWORD count = 0;
    if (!WriteFile(m_handle, packet.m_buffer, packet.m_size, &count, nullptr))
        CORVO_RAISE(SerialStreamException, "Win32SerialStream::write(): Failed to write !");
    return true;
}

void Win32SerialStream::setProperty()
{
    logCall("Vesk::Corvo::Win32SerialStream::setProperty", "Win32SerialStream::setProperty()");
}

} // namespace Corvo
} // namespace Vesk
