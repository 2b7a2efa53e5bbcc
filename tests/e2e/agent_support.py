"""What a test of the reference agent stands on: the running agent, and the program's end."""

import os
import queue
import socket
import struct
import subprocess
import threading

DEADLINE = 20  # seconds; generous, since it is only reached when something is broken


def frame(kind, payload=b""):
    return struct.pack("<BI", kind, len(payload)) + payload


def video(duration, access_unit):
    return frame(3, struct.pack("<I", duration) + access_unit)


class Lines:
    """The lines of a stream, read in a thread so that a test can wait for one with a deadline."""

    def __init__(self, stream):
        self.stream = stream
        self.queue = queue.Queue()
        self.thread = threading.Thread(target=self._read, daemon=True)
        self.thread.start()

    def _read(self):
        for line in self.stream:
            self.queue.put(line.rstrip(b"\n"))
        self.queue.put(None)

    def next(self):
        """The next line; None at the end of the stream."""
        return self.queue.get(timeout=DEADLINE)

    def rest(self):
        return list(iter(self.next, None))


class Agent:
    """A running agent. It listens when the constructor returns."""

    def __init__(self, executable, path, *options, stdin=subprocess.PIPE,
                 stdout=subprocess.PIPE, quiet=False):
        self.process = subprocess.Popen(
            [executable, "--socket", path, *options],
            stdin=stdin, stdout=stdout, stderr=subprocess.PIPE)
        self.output = Lines(self.process.stdout) if self.process.stdout else None
        self.notes = Lines(self.process.stderr)
        if not quiet:
            assert self.notes.next() == b"vesk-agent: listening at " + os.fsencode(path)

    def write(self, *lines):
        self.process.stdin.write(b"".join(line + b"\n" for line in lines))
        self.process.stdin.flush()

    def status(self):
        return self.process.wait(timeout=DEADLINE)

    def close(self):
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait()
        for lines in filter(None, (self.output, self.notes)):
            lines.thread.join(DEADLINE)
            lines.stream.close()
        if self.process.stdin:
            try:
                self.process.stdin.close()
            except BrokenPipeError:
                pass


class Program:
    """The program's end of a connection."""

    def __init__(self, path):
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.settimeout(DEADLINE)
        self.socket.connect(path)

    def send(self, data):
        self.socket.sendall(data)

    def receive(self, size):
        data = b""
        while len(data) < size:
            piece = self.socket.recv(size - len(data))
            if not piece:
                raise EOFError(f"{len(data)} of {size} bytes")
            data += piece
        return data

    def receive_frame(self):
        kind, length = struct.unpack("<BI", self.receive(5))
        return kind, self.receive(length)

    def is_closed(self):
        return self.socket.recv(1) == b""

    def close(self):
        self.socket.close()
