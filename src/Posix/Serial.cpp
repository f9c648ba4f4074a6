// Serial ports on termios: the device control block is read from and
// written to the tty's settings, always as a raw line.
#include "FileObject.h"
#include "PosixSupport.h"
#include "SerialSettings.h"
#include "Win32FileIo.h"

#include <termios.h>

#include <cstring>

using namespace Vesk::Corvo::Posix;

namespace {

struct Rate
{
    DWORD bitsPerSecond;
    speed_t speed;
};

const Rate rates[] = {
    {50, B50},         {75, B75},         {110, B110},       {134, B134},       {150, B150},
    {200, B200},       {300, B300},       {600, B600},       {1200, B1200},     {1800, B1800},
    {2400, B2400},     {4800, B4800},     {9600, B9600},     {19200, B19200},   {38400, B38400},
    {57600, B57600},   {115200, B115200}, {230400, B230400},
#ifdef B921600 // Linux
    {460800, B460800}, {500000, B500000}, {576000, B576000}, {921600, B921600}, {1000000, B1000000},
    {1152000, B1152000}, {1500000, B1500000}, {2000000, B2000000}, {2500000, B2500000},
    {3000000, B3000000}, {3500000, B3500000}, {4000000, B4000000},
#endif
};

const tcflag_t sizes[] = {CS5, CS6, CS7, CS8};

#ifdef CMSPAR
const tcflag_t stickParity = CMSPAR;
#else
const tcflag_t stickParity = 0;
#endif

// The tty behind a handle and its settings; no tty is an invalid handle.
std::shared_ptr<FileObject> ttyOf(HANDLE file, termios& settings)
{
    std::shared_ptr<FileObject> object = lookUp<FileObject>(file, 0);
    if (object && tcgetattr(object->descriptor(), &settings) != 0)
        return fail(ERROR_INVALID_HANDLE, nullptr);
    return object;
}

} // namespace

bool Vesk::Corvo::Posix::termiosFor(const DCB& dcb, termios& settings)
{
    const Rate* rate = nullptr;
    for (const Rate& candidate : rates)
        if (candidate.bitsPerSecond == dcb.BaudRate)
            rate = &candidate;
    const bool stick = dcb.Parity == MARKPARITY || dcb.Parity == SPACEPARITY;
    // 1.5 stop bits go with 5 data bits only, and 2 stop bits never do.
    const bool five = dcb.ByteSize == 5;
    if (!rate || dcb.ByteSize < 5 || dcb.ByteSize > 8 || dcb.Parity > SPACEPARITY || (stick && !stickParity) ||
        dcb.StopBits > TWOSTOPBITS || (dcb.StopBits == ONE5STOPBITS && !five) || (dcb.StopBits == TWOSTOPBITS && five))
        return false;

    cfmakeraw(&settings);
    settings.c_iflag &= ~(IXON | IXOFF | IXANY | INPCK);
    settings.c_cflag &= ~(CSIZE | PARENB | PARODD | CSTOPB | CRTSCTS | stickParity);
    settings.c_cflag |= CLOCAL | CREAD | sizes[dcb.ByteSize - 5];
    if (dcb.Parity != NOPARITY)
        settings.c_cflag |= PARENB;
    if (dcb.Parity == ODDPARITY || dcb.Parity == MARKPARITY)
        settings.c_cflag |= PARODD;
    if (stick)
        settings.c_cflag |= stickParity;
    if (dcb.StopBits != ONESTOPBIT)
        settings.c_cflag |= CSTOPB;
    if (dcb.fOutxCtsFlow || dcb.fRtsControl == RTS_CONTROL_HANDSHAKE)
        settings.c_cflag |= CRTSCTS;
    if (dcb.fParity)
        settings.c_iflag |= INPCK;
    if (dcb.fOutX)
        settings.c_iflag |= IXON;
    if (dcb.fInX)
        settings.c_iflag |= IXOFF;
    settings.c_cc[VMIN] = 1;
    settings.c_cc[VTIME] = 0;
    cfsetispeed(&settings, rate->speed);
    cfsetospeed(&settings, rate->speed);
    return true;
}

bool Vesk::Corvo::Posix::lineGone(int descriptor)
{
    termios settings;
    if (tcgetattr(descriptor, &settings) != 0)
        return errno == EIO;
    return !(settings.c_lflag & ICANON) && settings.c_cc[VMIN] > 0 && settings.c_cc[VTIME] == 0;
}

BOOL GetCommState(HANDLE file, LPDCB dcb)
{
    termios settings;
    if (!ttyOf(file, settings))
        return FALSE;
    if (!dcb)
        return fail(ERROR_INVALID_PARAMETER, FALSE);
    std::memset(dcb, 0, sizeof *dcb);
    dcb->DCBlength = sizeof *dcb;
    const speed_t speed = cfgetospeed(&settings);
    for (const Rate& rate : rates)
        if (rate.speed == speed)
            dcb->BaudRate = rate.bitsPerSecond;
    const bool hardwareFlow = (settings.c_cflag & CRTSCTS) != 0;
    dcb->fBinary = 1;
    dcb->fParity = (settings.c_iflag & INPCK) != 0;
    dcb->fOutxCtsFlow = hardwareFlow;
    dcb->fDtrControl = DTR_CONTROL_ENABLE;
    dcb->fRtsControl = hardwareFlow ? RTS_CONTROL_HANDSHAKE : RTS_CONTROL_ENABLE;
    dcb->fOutX = (settings.c_iflag & IXON) != 0;
    dcb->fInX = (settings.c_iflag & IXOFF) != 0;
    for (int size = 0; size < 4; ++size)
        if ((settings.c_cflag & CSIZE) == sizes[size])
            dcb->ByteSize = static_cast<BYTE>(size + 5);
    const bool odd = (settings.c_cflag & PARODD) != 0;
    if (!(settings.c_cflag & PARENB))
        dcb->Parity = NOPARITY;
    else if (settings.c_cflag & stickParity)
        dcb->Parity = odd ? MARKPARITY : SPACEPARITY;
    else
        dcb->Parity = odd ? ODDPARITY : EVENPARITY;
    if (settings.c_cflag & CSTOPB)
        dcb->StopBits = dcb->ByteSize == 5 ? ONE5STOPBITS : TWOSTOPBITS;
    dcb->XonChar = static_cast<char>(settings.c_cc[VSTART]);
    dcb->XoffChar = static_cast<char>(settings.c_cc[VSTOP]);
    return TRUE;
}

BOOL SetCommState(HANDLE file, LPDCB dcb)
{
    termios settings;
    const std::shared_ptr<FileObject> object = ttyOf(file, settings);
    if (!object)
        return FALSE;
    if (!dcb || !termiosFor(*dcb, settings))
        return fail(ERROR_INVALID_PARAMETER, FALSE);
    if (retryOnInterrupt([&] { return tcsetattr(object->descriptor(), TCSANOW, &settings); }) != 0)
        return failFromErrno(FALSE);
    return TRUE;
}

BOOL SetCommMask(HANDLE file, DWORD)
{
    termios settings;
    return ttyOf(file, settings) ? TRUE : FALSE;
}

BOOL SetupComm(HANDLE file, DWORD, DWORD)
{
    termios settings;
    return ttyOf(file, settings) ? TRUE : FALSE;
}

BOOL PurgeComm(HANDLE file, DWORD flags)
{
    termios settings;
    const std::shared_ptr<FileObject> object = ttyOf(file, settings);
    if (!object)
        return FALSE;
    const bool input = (flags & (PURGE_RXABORT | PURGE_RXCLEAR)) != 0;
    const bool output = (flags & (PURGE_TXABORT | PURGE_TXCLEAR)) != 0;
    if (!input && !output)
        return TRUE;
    const int queues = input && output ? TCIOFLUSH : input ? TCIFLUSH : TCOFLUSH;
    return tcflush(object->descriptor(), queues) == 0 ? TRUE : failFromErrno(FALSE);
}
