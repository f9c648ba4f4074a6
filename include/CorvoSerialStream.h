// Win32SerialStream: a serial port through the platform's communications
// calls. open applies the line settings on top of the port's own, with flow
// control off, and empties the queues; read waits for every byte asked
// for; the port's time-outs are left as they are.
#ifndef CORVO_SERIAL_STREAM_H
#define CORVO_SERIAL_STREAM_H

#include "CorvoExport.h"
#include "CorvoPacket.h"

#include <string>

namespace Vesk {
namespace Corvo {

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

enum DataBits : int
{
    DataBits5 = 5,
    DataBits6 = 6,
    DataBits7 = 7,
    DataBits8 = 8
};

enum Parity : int
{
    ParityNone = 0,
    ParityOdd = 1,
    ParityEven = 2,
    ParityMark = 3,
    ParitySpace = 4
};

enum StopBits : int
{
    StopBits1 = 1,
    StopBits2 = 2
};

class CORVO_API Win32SerialStream
{
public:
    Win32SerialStream();
    // Does not close the port: close does.
    virtual ~Win32SerialStream();

    // A copy works on the same open port.

    // port is what follows "COM": "3" opens COM3. On Linux COMn is
    // /dev/ttyS<n-1>, and an absolute path ("/dev/ttyUSB0", "/dev/pts/3")
    // opens that tty. A port that fails after it was opened stays open
    // until close.
    void open(const std::string& port, Bps bps, DataBits dataBits, Parity parity, StopBits stopBits);
    // Never fails, also when nothing is open.
    void close();

    // Exactly size bytes: waits until all have arrived.
    Packet_T<char> read(unsigned int size);
    // One platform write; true or a throw.
    bool write(const Packet_T<char>& packet);
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
