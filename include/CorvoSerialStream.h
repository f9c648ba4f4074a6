/// \file
/// Win32SerialStream: a serial port through the platform's communications
/// calls. open applies the line settings on top of the port's own, with flow
/// control off, and empties the queues; read waits for every byte asked
/// for; the port's time-outs are left as they are.
#ifndef CORVO_SERIAL_STREAM_H
#define CORVO_SERIAL_STREAM_H

#include "CorvoExport.h"
#include "CorvoPacket.h"

#include <string>

namespace Vesk {
namespace Corvo {

/// The line rate in bits per second.

// Each value is what it means: bits per second, a number of bits, the
// platform's parity code, a number of stop bits.
enum Bps : int
{
    Bps110 = 110,
    Bps300 = 300,
    Bps600 = 600,
    Bps1200 = 1200,
    Bps2400 = 2400,
    Bps4800 = 4800,
    Bps9600 = 9600,
    Bps19200 = 19200,
    Bps38400 = 38400,
    Bps57600 = 57600,
    Bps115200 = 115200,
    Bps230400 = 230400,
    Bps460800 = 460800,
    Bps921600 = 921600
};
/// Data bits per character. A pseudo-terminal on Linux always has 8. Five
/// data bits with two stop bits are refused, as Windows refuses them.

enum DataBits : int
{
    DataBits5 = 5,
    DataBits6 = 6,
    DataBits7 = 7,
    DataBits8 = 8
};
/// Parity, by the platform's code. Mark and space need the kernel's CMSPAR
/// on Linux; a pseudo-terminal always has none.

enum Parity : int
{
    ParityNone = 0,
    ParityOdd = 1,
    ParityEven = 2,
    ParityMark = 3,
    ParitySpace = 4
};
/// Stop bits per character.

enum StopBits : int
{
    StopBits1 = 1,
    StopBits2 = 2
};

/// A serial port. Every failure throws SerialStreamException; every call
/// logs one record at LogDebug (the Logger's default filter level).
///
/// On Linux the line is always raw. A pseudo-terminal keeps the rate and the
/// stop bits but always has 8 data bits and no parity, whatever open asks.
/// Under Wine, as on Windows, only COM1 to COM9 are known by their plain
/// names.
class CORVO_API Win32SerialStream
{
public:
    /// No port.
    Win32SerialStream();
    /// Does not close the port: close does.
    virtual ~Win32SerialStream();

    // A copy works on the same open port.

    /// port is what follows "COM": "3" opens COM3. On Linux COMn is
    /// `/dev/ttyS<n-1>`, and an absolute path ("/dev/ttyUSB0", "/dev/pts/3")
    /// opens that tty. A port that fails after it was opened stays open
    /// until close. Logs "Win32SerialStream::open( COMPORT, RATEBps,
    /// DataBits:N, Parity: N, Stop bits:N )". Throws
    /// SerialStreamException "Win32SerialStream::open(): " followed by
    /// "Failed to open the port!", "Failed to get current port settings!",
    /// "Failed to set port parameters!", "Failed to sert port mask!",
    /// "Failed to set port FIFO size!" or "Failed to purge port !".
    void open(const std::string& port, Bps bps, DataBits dataBits, Parity parity, StopBits stopBits);
    /// Never fails, also when nothing is open.
    void close();

    /// Exactly size bytes: waits until all have arrived. Throws
    /// SerialStreamException "Win32SerialStream::read(): Failed to read !",
    /// also once the port has gone (a USB adapter unplugged, a hung-up tty).
    Packet_T<char> read(unsigned int size);
    /// One platform write; true or a throw: SerialStreamException
    /// "Win32SerialStream::write(): Failed to write !".
    bool write(const Packet_T<char>& packet);
    /// Does nothing but log.
    void setProperty();

private:
    static const unsigned long COMM_IN_QUEUE_SIZE;
    static const unsigned long COMM_OUT_QUEUE_SIZE;

    // The platform's DCB, zeros but while open, and its file handle.
    alignas(4) unsigned char m_dcb[28];
    void* m_handle;
};

} // namespace Corvo
} // namespace Vesk

#endif
