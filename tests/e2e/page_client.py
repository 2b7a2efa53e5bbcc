"""A browser's end of the agent's page, in raw bytes, and so able to break every rule."""

import base64
import json
import os
import re
import socket
import struct

from agent_support import DEADLINE

TEXT, BINARY, CLOSE, PING, PONG = 1, 2, 8, 9, 10


class Address:
    """Where the page is, from the line that the agent prints."""

    def __init__(self, note):
        match = re.fullmatch(rb"vesk-agent: page: http://127\.0\.0\.1:(\d+)/\?key=([\w-]+)", note)
        assert match, note
        self.port = int(match[1])
        self.key = match[2].decode()
        self.host = f"127.0.0.1:{self.port}"

    def connect(self, receive_buffer=None):
        connection = socket.socket()
        if receive_buffer:
            connection.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, receive_buffer)
        connection.settimeout(DEADLINE)
        connection.connect(("127.0.0.1", self.port))
        return connection

    def ask(self, target="/", method="GET", body=b"", **headers):
        """Status, headers and body of the answer."""
        headers = {"Host": self.host, **headers}
        return self.ask_raw(request(method, target, headers) + body)

    def ask_raw(self, data):
        with self.connect() as connection:
            connection.sendall(data)
            return parse_response(read_all(connection))

    def cookie(self):
        """The cookie of a browser that has just come."""
        return self.ask()[1]["set-cookie"].split(";")[0]


def request(method, target, headers):
    lines = [f"{method} {target} HTTP/1.1"]
    lines += [f"{name}: {value}" for name, value in headers.items() if value is not None]
    return "\r\n".join([*lines, "", ""]).encode()


def read_all(connection):
    data = b""
    while piece := connection.recv(65536):
        data += piece
    return data


def parse_response(data):
    head, _, body = data.partition(b"\r\n\r\n")
    lines = head.decode().split("\r\n")
    headers = dict(line.split(": ", 1) for line in lines[1:])
    return (int(lines[0].split()[1]), {name.lower(): value for name, value in headers.items()},
            body)


def frame(opcode, payload=b"", final=True, masked=True):
    """A frame of a WebSocket."""
    head = bytes([opcode | (0x80 if final else 0)])
    flag = 0x80 if masked else 0
    if len(payload) < 126:
        head += bytes([flag | len(payload)])
    elif len(payload) < 65536:
        head += struct.pack(">BH", flag | 126, len(payload))
    else:
        head += struct.pack(">BQ", flag | 127, len(payload))
    if not masked:
        return head + payload
    mask = os.urandom(4)
    repeated = mask * (len(payload) // 4 + 1)
    mixed = int.from_bytes(payload, "big") ^ int.from_bytes(repeated[:len(payload)], "big")
    return head + mask + mixed.to_bytes(len(payload), "big")


class Viewer:
    """A WebSocket to the agent. Pings are answered when they are read, as browsers do."""

    def __init__(self, address, cookie=None, receive_buffer=None, **headers):
        self.address = address
        self.socket = address.connect(receive_buffer)
        headers = {
            "Host": address.host, "Origin": f"http://{address.host}", "Connection": "Upgrade",
            "Upgrade": "websocket", "Sec-WebSocket-Version": "13",
            "Sec-WebSocket-Key": base64.b64encode(os.urandom(16)).decode(),
            "Sec-WebSocket-Protocol": "vesk-viewer.1", "Cookie": cookie, **headers,
        }
        self.socket.sendall(request("GET", "/viewer", headers))
        self._data = b""
        while b"\r\n\r\n" not in self._data:
            self._fill()
        head, _, self._data = self._data.partition(b"\r\n\r\n")
        self.status, self.headers, _ = parse_response(head)

    def close(self):
        self.socket.close()

    def send(self, opcode, payload=b"", **options):
        self.socket.sendall(frame(opcode, payload, **options))

    def say(self, **message):
        self.send(TEXT, json.dumps(message).encode())

    def control(self, **message):
        self.send(BINARY, b"\1" + json.dumps(message).encode())

    def wait_until_heard(self):
        """Until the agent has dealt with everything that was sent."""
        self.send(PING, b"heard")
        while self._next_frame() != (PONG, b"heard"):
            pass

    def next(self):
        """The next message, or the code and the reason of the end."""
        while True:
            opcode, payload = self._next_frame()
            if opcode == PING:
                self.send(PONG, payload)
            elif opcode == CLOSE:
                self.send(CLOSE, payload[:2])
                return struct.unpack(">H", payload[:2])[0], payload[2:].decode()
            elif opcode == TEXT:
                return json.loads(payload)
            else:
                return payload

    def end(self):
        """The code and the reason of the end; what comes before it is passed over."""
        while not isinstance(message := self.next(), tuple):
            pass
        return message

    def _next_frame(self):
        first, length = self._take(2)
        if length == 126:
            length, = struct.unpack(">H", self._take(2))
        elif length == 127:
            length, = struct.unpack(">Q", self._take(8))
        assert first & 0x80, "the agent sends whole messages"
        return first & 0x0f, self._take(length)

    def _take(self, count):
        while len(self._data) < count:
            self._fill()
        data, self._data = self._data[:count], self._data[count:]
        return data

    def _fill(self):
        piece = self.socket.recv(1 << 18)
        if not piece:
            raise EOFError("the agent closed the connection")
        self._data += piece
