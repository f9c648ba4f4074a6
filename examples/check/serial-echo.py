#!/usr/bin/env python3
# serial-echo.py [--link PATH --port N] -- COMMAND...
# Opens a pseudo-terminal pair, runs COMMAND with the port of its slave end
# (the slave's path, or N when PATH, Wine's dosdevices/comN, is linked to
# it), sends lines through the master end and checks that each comes back.
import fcntl, os, select, subprocess, sys, termios, time

args = sys.argv[1:]
split = args.index('--')
options, command = dict(zip(args[:split:2], args[1:split:2])), args[split + 1:]

# The pty becomes this session's controlling terminal: else the first
# session leader without one that opens it takes it (Wine's server does),
# and gets SIGHUP when the master end closes.
if os.getsid(0) != os.getpid():
    try:
        os.setsid()
    except OSError: # a process group leader cannot; its child can
        pid = os.fork()
        if pid:
            sys.exit(os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1]))
        os.setsid()
# Wine makes its prefix on first use, but not over a directory that is
# there already: without a port the program only prints its usage.
if '--link' in options and not os.path.isdir(os.path.dirname(options['--link'])):
    subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
deadline = time.monotonic() + 60
master, slave = os.openpty()
fcntl.ioctl(slave, termios.TIOCSCTTY, 0)
port = os.ttyname(slave)
if '--link' in options:
    link = options['--link']
    if os.path.lexists(link):
        os.remove(link)
    os.symlink(port, link)
    port = options['--port']

def fail(message):
    child.kill()
    sys.exit('serial-echo: ' + message)

def read_until(stream, end):
    data = b''
    while not data.endswith(end):
        ready, _, _ = select.select([stream], [], [], max(0, deadline - time.monotonic()))
        if not ready:
            fail('timed out with %r' % data)
        chunk = os.read(stream, 256)
        if not chunk:
            fail('end of output after %r' % data)
        data += chunk
    return data

child = subprocess.Popen(command + [port], stdout=subprocess.PIPE)
output = b''
while b'echoing on' not in output:
    output += read_until(child.stdout.fileno(), b'\n')
for line in (b'hello, port\n', 'caf\u00e9 \u20ac\n'.encode(), b'x' * 300 + b'\n', b'bye\n'):
    os.write(master, line)
    echo = read_until(master, b'\n')
    if echo != line:
        fail('sent %r, got back %r' % (line, echo))
status = child.wait(max(1, deadline - time.monotonic()))
if '--link' in options:
    os.remove(options['--link'])
if status != 0:
    sys.exit('serial-echo: ended with status %d' % status)
print('serial-echo: 4 lines echoed on ' + port)
