// File handles and serial ports, for the POSIX layer: CreateFileW, reads,
// writes, the file pointer and size, and the communications calls. A file
// handle is a descriptor held by an object of the one handle table, so
// CloseHandle closes it like every other handle.
#ifndef CORVO_POSIX_WIN32_FILE_IO_H
#define CORVO_POSIX_WIN32_FILE_IO_H

#include "Win32Handle.h"

#include <cstdint>

typedef const void* LPCVOID;
typedef struct _OVERLAPPED* LPOVERLAPPED; // only null is accepted

#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-1)))

// Access rights, kept per handle: a read needs GENERIC_READ, a write
// GENERIC_WRITE.
#define GENERIC_READ 0x80000000u
#define GENERIC_WRITE 0x40000000u

// Sharing is accepted and not enforced.
#define FILE_SHARE_READ 0x00000001u
#define FILE_SHARE_WRITE 0x00000002u

#define CREATE_NEW 1u
#define CREATE_ALWAYS 2u
#define OPEN_EXISTING 3u
#define OPEN_ALWAYS 4u
#define TRUNCATE_EXISTING 5u

#define FILE_BEGIN 0u
#define FILE_CURRENT 1u
#define FILE_END 2u

#define INVALID_SET_FILE_POINTER 0xFFFFFFFFu
#define INVALID_FILE_SIZE 0xFFFFFFFFu

#define ERROR_FILE_EXISTS 80u // CREATE_NEW on a file that is there
#define ERROR_NEGATIVE_SEEK 131u
#define ERROR_OPERATION_ABORTED 995u

// Opens a file, or a serial port by the name "COM" and its number: COMn is
// /dev/ttyS<n-1>, and "COM" followed by an absolute path is that device, so
// that any tty can be named. Each element of the name is one UTF-16 unit;
// the units 0xFF80 to 0xFFFF are taken as the bytes 0x80 to 0xFF that a
// byte-wise widening makes of them, the others are written as UTF-8. Flags
// and the template are ignored, security attributes must be null. A
// directory is refused with ERROR_ACCESS_DENIED, and so is a file without
// write permission bits (the read-only attribute) when it would be written
// or emptied, whoever runs the call.
HANDLE CreateFileW(LPCWSTR name, DWORD access, DWORD shareMode, LPSECURITY_ATTRIBUTES attributes,
                   DWORD disposition, DWORD flags, HANDLE templateFile);

// Synchronous only. The count is set, also on failure: a read of a file
// stops short only at its end (0 bytes there is a success), a read of a
// device returns what one read gives. A tty that gives no byte although it
// waits for one has gone (hung up, or an adapter unplugged): the read fails
// with ERROR_OPERATION_ABORTED, as a removed port's reads do. A write goes on after partial
// writes; on a full disk it fails with ERROR_DISK_FULL and the count of the
// bytes that fitted.
BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD count, LPDWORD done, LPOVERLAPPED overlapped);
BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD count, LPDWORD done, LPOVERLAPPED overlapped);

// Moves by a signed 64-bit distance (the low part joined with *high) or,
// with a null high part, by the low part alone as a signed 32-bit value.
// Gives the low 32 bits of the new position and the high ones through
// high; INVALID_SET_FILE_POINTER on failure, with the last error set. A
// valid position whose low 32 bits are all ones gives the same value, with
// the last error cleared. With a null high part a position beyond 32 bits
// is refused (ERROR_INVALID_PARAMETER) and the pointer stays where it was.
DWORD SetFilePointer(HANDLE file, LONG distance, PLONG high, DWORD method);

// Low 32 bits of the size, the high ones through high when it isn't null;
// INVALID_FILE_SIZE with the last error set on failure.
DWORD GetFileSize(HANDLE file, LPDWORD high);

// Serial ports: the device control block stands for the tty's termios
// settings. The line is always raw; rates are those that termios names.

typedef struct _DCB
{
    DWORD DCBlength;
    DWORD BaudRate;
    DWORD fBinary : 1;
    DWORD fParity : 1;
    DWORD fOutxCtsFlow : 1;
    DWORD fOutxDsrFlow : 1;
    DWORD fDtrControl : 2;
    DWORD fDsrSensitivity : 1;
    DWORD fTXContinueOnXoff : 1;
    DWORD fOutX : 1;
    DWORD fInX : 1;
    DWORD fErrorChar : 1;
    DWORD fNull : 1;
    DWORD fRtsControl : 2;
    DWORD fAbortOnError : 1;
    DWORD fDummy2 : 17;
    WORD wReserved;
    WORD XonLim;
    WORD XoffLim;
    BYTE ByteSize;
    BYTE Parity;
    BYTE StopBits;
    char XonChar;
    char XoffChar;
    char ErrorChar;
    char EofChar;
    char EvtChar;
    WORD wReserved1;
} DCB, *LPDCB;

#define NOPARITY 0
#define ODDPARITY 1
#define EVENPARITY 2
#define MARKPARITY 3
#define SPACEPARITY 4

#define ONESTOPBIT 0
#define ONE5STOPBITS 1
#define TWOSTOPBITS 2

#define DTR_CONTROL_DISABLE 0
#define DTR_CONTROL_ENABLE 1
#define RTS_CONTROL_DISABLE 0
#define RTS_CONTROL_ENABLE 1
#define RTS_CONTROL_HANDSHAKE 2

#define EV_RXCHAR 0x0001u
#define EV_ERR 0x0080u

#define PURGE_TXABORT 0x0001u
#define PURGE_RXABORT 0x0002u
#define PURGE_TXCLEAR 0x0004u
#define PURGE_RXCLEAR 0x0008u

// Each fails with ERROR_INVALID_HANDLE on a handle that is no tty.
// SetCommState refuses (ERROR_INVALID_PARAMETER) a rate that termios has
// no name for, a size outside 5 to 8, an unknown parity, mark and space
// parity where the kernel has no CMSPAR, and one and a half stop bits but
// with 5 data bits. Hardware flow control follows fOutxCtsFlow and
// RTS_CONTROL_HANDSHAKE, software flow control fOutX and fInX.
BOOL GetCommState(HANDLE file, LPDCB dcb);
BOOL SetCommState(HANDLE file, LPDCB dcb);
// Accepted; nothing waits for the events.
BOOL SetCommMask(HANDLE file, DWORD mask);
// Accepted; the kernel's queues keep their sizes.
BOOL SetupComm(HANDLE file, DWORD inQueue, DWORD outQueue);
// The abort and clear flags of a direction both flush its queue.
BOOL PurgeComm(HANDLE file, DWORD flags);

#endif
