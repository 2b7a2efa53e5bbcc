"""An X server as if it lacked some of its extensions: a relay in front of a real one.

Every extension can be hidden so; the server's own switches reach only some of them.
"""

import contextlib
import itertools
import os
import socket
import struct
import threading

_QUERY_EXTENSION = 98
_MOST_DESCRIPTORS = 16


class HidingServer:
    """Relays until `end`. Whoever asks for a hidden extension hears that there is none."""

    def __init__(self, display, hidden=()):
        self.was_left_alone = False  # by its last client, which lets a real server start anew
        self._hidden = {name.encode() for name in hidden}
        self._target = f"/tmp/.X11-unix/X{display.lstrip(':')}"
        self._lock = threading.Lock()
        self._clients = 0
        self._threads = []
        self._listener = socket.socket(socket.AF_UNIX)
        self._path, self.display = self._bind(first=1000)
        self._listener.listen(64)
        self._start(self._accept)

    def end(self):
        """Waits for the clients to leave, which have ended before."""
        with contextlib.suppress(OSError):
            self._listener.shutdown(socket.SHUT_RDWR)
        for thread in self._threads:
            thread.join(30)
        self._listener.close()
        os.unlink(self._path)

    def _bind(self, first):
        """At the first display number from there on that is free."""
        for number in itertools.count(first):
            path = f"/tmp/.X11-unix/X{number}"
            with contextlib.suppress(OSError):
                self._listener.bind(path)
                return path, f":{number}"

    def _start(self, work, *arguments):
        thread = threading.Thread(target=work, args=arguments, daemon=True)
        self._threads.append(thread)
        thread.start()

    def _accept(self):
        while True:
            try:
                client, _ = self._listener.accept()
            except OSError:
                return
            server = socket.socket(socket.AF_UNIX)
            with contextlib.suppress(OSError):  # the server has gone: the client finds out
                server.connect(self._target)
            with self._lock:
                self._clients += 1
            self._start(self._serve, client, server)

    def _serve(self, client, server):
        answers = threading.Thread(target=self._relay, args=(server, client, Whole()), daemon=True)
        answers.start()
        self._relay(client, server, Requests(self._hidden))
        with self._lock:
            self._clients -= 1
            self.was_left_alone = self.was_left_alone or self._clients == 0
        answers.join()
        client.close()
        server.close()

    @staticmethod
    def _relay(source, target, stream):
        """What comes along with bytes, open files, goes on with them."""
        descriptors = []
        with contextlib.suppress(OSError):
            while True:
                data, more, _, _ = socket.recv_fds(source, 1 << 16, _MOST_DESCRIPTORS)
                descriptors += more
                if not data:
                    break
                data = stream.take(data)
                if not data:
                    continue
                if descriptors:
                    sent = socket.send_fds(target, [data], descriptors)
                    while descriptors:
                        os.close(descriptors.pop())
                    data = data[sent:]
                target.sendall(data)
        for end in (source, target):
            with contextlib.suppress(OSError):
                end.shutdown(socket.SHUT_RDWR)


class Whole:
    """Bytes that go on as they are."""

    @staticmethod
    def take(data):
        return data


class Requests:
    """A client's bytes, cut into its requests."""

    def __init__(self, hidden):
        self._hidden = hidden
        self._waiting = b""
        self._is_set_up = False

    def take(self, data):
        """The whole requests that there are now, as the server is to see them."""
        self._waiting += data
        result = b""
        while (size := self._size()) is not None and len(self._waiting) >= size:
            request, self._waiting = self._waiting[:size], self._waiting[size:]
            result += self._renamed(request) if self._is_set_up else request
            self._is_set_up = True
        return result

    def _size(self):
        """The length of the request that the bytes begin with; None when it is not there yet."""
        def padded(length):
            return (length + 3) // 4 * 4
        if not self._is_set_up:
            if len(self._waiting) < 12:
                return None
            name, data = struct.unpack_from("<HH", self._waiting, 6)
            return 12 + padded(name) + padded(data)
        if len(self._waiting) < 4:
            return None
        units = struct.unpack_from("<H", self._waiting, 2)[0]
        if units == 0:  # a long one, with its length in a field of its own
            if len(self._waiting) < 8:
                return None
            units = struct.unpack_from("<I", self._waiting, 4)[0]
        return 4 * units

    def _renamed(self, request):
        if request[0] != _QUERY_EXTENSION:
            return request
        length = struct.unpack_from("<H", request, 4)[0]
        name = request[8:8 + length]
        return request.replace(name, b"?" * length) if name in self._hidden else request
