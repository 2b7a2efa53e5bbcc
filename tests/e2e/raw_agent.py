"""An agent that speaks in raw bytes, and so can say anything."""

import contextlib
import json
import socket
import struct
import threading
import time

import harness

KNOWN = {"hello", "state", "started", "denied", "fault"}


def frame(kind, payload=b"", length=None):
    """A frame; with a `length`, one whose header does not tell the truth."""
    return struct.pack("<BI", kind, len(payload) if length is None else length) + payload


class RawAgent:
    """Listens, and reads whatever the program says unless it is told not to. What the program must
    never say is kept in `complaints`."""

    def __init__(self):
        self._listener = socket.socket(socket.AF_UNIX)
        self._listener.bind(str(harness.SOCKET))
        self._listener.listen(8)
        self._listener.settimeout(harness.PATIENCE)
        self._socket = None
        self._reader = None
        self._may_read = threading.Event()
        self._may_read.set()
        self._heard = threading.Condition()
        self._messages = []
        self.complaints = []
        self.units = 0

    def connect(self):
        """Waits for the program, and for its greeting."""
        self._may_read.set()
        self._socket, _ = self._listener.accept()
        self._socket.settimeout(harness.PATIENCE)
        with self._heard:
            self._messages.clear()
        self._reader = threading.Thread(target=self._read, args=(self._socket,), daemon=True)
        self._reader.start()
        self.wait_for("hello")

    def disconnect(self, rudely=False):
        """Closes the connection; rudely, first only the end that the program writes to."""
        self._may_read.set()
        if rudely:
            with contextlib.suppress(OSError):
                self._socket.shutdown(socket.SHUT_RD)
            self._reader.join(harness.PATIENCE)
        with contextlib.suppress(OSError):
            self._socket.shutdown(socket.SHUT_RDWR)
        self._socket.close()
        self._reader.join(harness.PATIENCE)

    def end(self):
        if self._socket:
            self.disconnect()
        self._listener.close()

    def stop_reading(self):
        self._may_read.clear()

    def read_on(self):
        self._may_read.set()

    def send(self, data):
        """Whether the program was there to hear it. It always reads, so that it must take it."""
        try:
            self._socket.sendall(data)
        except TimeoutError:
            self.complaints.append("the program does not read")
            return False
        except OSError:
            return False
        return True

    def say(self, **message):
        return self.send(frame(1, json.dumps(message).encode()))

    def wait_for(self, *ops):
        """The next message of one of these kinds; what came before it is passed over."""
        deadline = time.monotonic() + harness.PATIENCE
        with self._heard:
            while True:
                while self._messages:
                    message = self._messages.pop(0)
                    if message["op"] in ops:
                        return message
                if not self._heard.wait(deadline - time.monotonic()):
                    raise harness.Timeout(f"waited in vain for {' or '.join(ops)}")

    def heard(self, op):
        """Whether the program has said that, and nobody has waited for it yet."""
        with self._heard:
            return any(message["op"] == op for message in self._messages)

    def forget(self):
        """Whatever was heard so far was no answer to what is asked now."""
        with self._heard:
            self._messages.clear()

    def _read(self, connection):
        with contextlib.suppress(OSError):
            while True:
                kind, length = struct.unpack("<BI", self._exactly(connection, 5))
                self._hear(kind, self._exactly(connection, length))

    def _exactly(self, connection, count):
        data = bytearray()
        while len(data) < count:
            self._may_read.wait()
            try:
                piece = connection.recv(min(count - len(data), 1 << 16))
            except TimeoutError:
                continue
            if not piece:
                raise ConnectionError
            data += piece
        return bytes(data)

    def _hear(self, kind, payload):
        if kind == 3 and len(payload) > 4:
            self.units += 1
        elif kind == 1 and json.loads(payload).get("op") in KNOWN:
            with self._heard:
                self._messages.append(json.loads(payload))
                self._heard.notify_all()
        else:
            self.complaints.append(f"a frame of kind {kind}: {payload[:80]!r}")
