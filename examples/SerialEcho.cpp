// serial-echo: the far end of a serial line, sending every line it receives
// straight back, until the line "bye".
//   serial-echo PORT
// PORT is what follows "COM": "3" opens COM3. On Linux COMn is /dev/ttyS<n-1>,
// and an absolute path opens that tty, so a pseudo-terminal pair stands in
// for a cable:
//   socat -d -d pty,raw,echo=0 pty,raw,echo=0   # prints two /dev/pts/N
//   serial-echo /dev/pts/3                      # one end
//   picocom -b 9600 /dev/pts/4                  # type lines on the other
#include <Corvo.h>

#include <cstdio>
#include <string>

using namespace Vesk::Corvo;

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: serial-echo PORT   (3 for COM3, or a tty's path on Linux)\n");
        return 2;
    }

    Win32SerialStream port;
    try {
        // A pseudo-terminal keeps the rate and the stop bits it is given but
        // always has 8 data bits and no parity, so 8N1 suits both.
        port.open(argv[1], Bps9600, DataBits8, ParityNone, StopBits1);
        // open empties the port's queues: whoever drives the other end waits
        // for this line before sending.
        std::printf("echoing on COM%s\n", argv[1]);
        std::fflush(stdout);

        for (std::string line; line != "bye\n";) {
            // read waits for exactly the bytes asked for: one at a time
            // finds the end of a line.
            line.clear();
            while (line.empty() || line.back() != '\n')
                line += port.read(1).m_buffer[0];
            port.write(Packet_T<char>(static_cast<unsigned>(line.size()), line.data()));
            std::printf("echoed %u bytes\n", static_cast<unsigned>(line.size()));
        }
    } catch (const Exception& e) {
        // Corvo's exceptions do not derive from std::exception.
        std::fprintf(stderr, "%s\n", e.getDescription().c_str());
        port.close();
        return 1;
    }
    // The destructor leaves the port open: close does.
    port.close();
    return 0;
}
