// A file through the platform's file handle, with 64-bit sizes and offsets
// made of the platform's 32-bit halves.
#include "CorvoFileStream64.h"

#include "CorvoException.h"
#include "CorvoPlatform.h"
#include "CorvoRaise.h"
#include "CorvoReadBlock.h"
#include "CorvoString.h"
#include "ZimLogger.h"

namespace Vesk {
namespace Corvo {

namespace {

const unsigned int maxReadSize = 0x40000000;

struct Mode
{
    const char* name;
    DWORD access;
    DWORD disposition;
    bool atEnd;
};

const Mode modes[] = {
    {"r", GENERIC_READ, OPEN_EXISTING, false},
    {"r+", GENERIC_READ | GENERIC_WRITE, OPEN_EXISTING, false},
    {"w", GENERIC_WRITE, CREATE_ALWAYS, false},
    {"w+", GENERIC_READ | GENERIC_WRITE, CREATE_ALWAYS, false},
    {"a", GENERIC_READ | GENERIC_WRITE, OPEN_ALWAYS, true},
};

unsigned long long joined(DWORD high, DWORD low) { return static_cast<unsigned long long>(high) << 32 | low; }

} // namespace

Win32FileStream64::Win32FileStream64() : m_handle(nullptr) {}

Win32FileStream64::~Win32FileStream64() {}

void Win32FileStream64::open(const std::string& fileName, const std::string& mode)
{
    const Mode* found = nullptr;
    for (const Mode& candidate : modes)
        if (mode == candidate.name)
            found = &candidate;
    if (!found)
        CORVO_RAISE(StreamException, "FileStream64 open file failure, unsupported mode");

    m_handle = CreateFileW(str_to_tstr(fileName).c_str(), found->access, FILE_SHARE_READ | FILE_SHARE_WRITE,
                           nullptr, found->disposition, 0, nullptr);
    if (m_handle == INVALID_HANDLE_VALUE)
        CORVO_RAISE(StreamException, "FileStream64 open file failure");

    SetLastError(0);
    const char* tag = "Vesk::Corvo::Win32FileStream64::open";
    Zim::Logger::getSingleton().log(Zim::LogInfo, tag, found->atEnd ? " start at end" : " start at beginning");
    SetFilePointer(m_handle, 0, nullptr, found->atEnd ? FILE_END : FILE_BEGIN);
    if (GetLastError() != 0)
        CORVO_RAISE(StreamException, "Unable to set file pointer");
}

void Win32FileStream64::close()
{
    SetLastError(0);
    CloseHandle(m_handle);
    if (GetLastError() != 0)
        CORVO_RAISE(StreamException, "Unable to close file");
}

Packet_T<char> Win32FileStream64::read(unsigned int iSize)
{
    if (iSize > maxReadSize)
        CORVO_RAISE(Exception, "FileStream64 read failure iSize exceeds SSIZE_MAX");
    detail::ReadBlock block(iSize);
    DWORD count = 0;
    if (!ReadFile(m_handle, block.data(), iSize, &count, nullptr))
        CORVO_RAISE(Exception, "FileStream64 data read failure");
    return block.packet(count);
}

void Win32FileStream64::read(char* buffer, unsigned int iSize)
{
    if (iSize > maxReadSize)
        CORVO_RAISE(Exception, "FileStream64 read failure iSize exceeds SSIZE_MAX");
    if (!buffer)
        CORVO_RAISE(Exception, "Output buffer is null");
    DWORD count = 0;
    if (!ReadFile(m_handle, buffer, iSize, &count, nullptr))
        CORVO_RAISE(Exception, "FileStream64 data read failure");
}

bool Win32FileStream64::write(const Packet_T<char>& packet)
{
    SetLastError(0);
    DWORD count = 0;
    WriteFile(m_handle, packet.m_buffer, packet.m_size, &count, nullptr);
    if (count != packet.m_size)
        CORVO_RAISE(StreamException, "FileStream64 write failure");
    if (GetLastError() != 0)
        CORVO_RAISE(StreamException, "FileStream failure");
    return true;
}

bool Win32FileStream64::write(const char* buffer, unsigned int size)
{
    if (!buffer)
        CORVO_RAISE(Exception, "Input buffer is null");
    SetLastError(0);
    DWORD count = 0;
    WriteFile(m_handle, buffer, size, &count, nullptr);
    if (count != size)
        CORVO_RAISE(StreamException, "FileStream64 write failure");
    if (GetLastError() != 0)
        CORVO_RAISE(StreamException, "FileStream64 failure");
    return true;
}

unsigned long long Win32FileStream64::getSize()
{
    DWORD high = 0;
    const DWORD low = GetFileSize(m_handle, &high);
    return joined(high, low);
}

unsigned long long Win32FileStream64::getOffset()
{
    LONG high = 0;
    SetLastError(0);
    const DWORD low = SetFilePointer(m_handle, 0, &high, FILE_CURRENT);
    if (low == INVALID_SET_FILE_POINTER)
        CORVO_RAISE(StreamException, "FileStream64 getOffset failure");
    if (GetLastError() != 0)
        CORVO_RAISE(StreamException, "Unable to get Offset");
    return joined(static_cast<DWORD>(high), low);
}

bool Win32FileStream64::setOffset(unsigned long long offset)
{
    const DWORD low = static_cast<DWORD>(offset);
    LONG high = static_cast<LONG>(static_cast<DWORD>(offset >> 32));
    return SetFilePointer(m_handle, static_cast<LONG>(low), &high, FILE_BEGIN) == low;
}

void Win32FileStream64::setProperty() {}

} // namespace Corvo
} // namespace Vesk
