"""As much of a server of TDS 7.4 as it takes to see what a driver sends, and in how many requests.

usage: tds_server.py [CERTIFICATE KEY]

Prints the port on 127.0.0.1 that it listens on, and then a line for each event: "tls" for a
handshake that succeeded, "login", and each request with its text or its calls. With a certificate
it takes the log-in encrypted, and everything where the driver asks for that. The user "nobody" is
refused. A SELECT is answered with the columns of MeasuredValues, and with one row unless it says
WHERE 1=0. A request that says "locked" is answered once it is cancelled, one that says "stuck" not
even then, and one that says "refused" fails.
"""
import socket
import ssl
import struct
import sys
import threading

BATCH, RESPONSE, ATTENTION, TRANSACTION, PRELOGIN = 1, 4, 6, 14, 18
NOT_SUPPORTED = 2
PROCEDURES = {11: "prepare", 12: "execute", 13: "prepexec", 15: "unprepare"}
COLUMNS = {"MeasValueId": 1, "PeriodNo": 2, "Channel": 3, "FuncId": 4, "FrqId": 5, "Value": 0.5, "Status": "A"}
COLLATION = bytes([0x09, 0x04, 0xD0, 0x00, 0x34])
INT, FLOAT, VARCHAR = b"\x26\x04", b"\x6D\x08", b"\xA7\x40\x00" + COLLATION


def say(*words):
    print(*words, flush=True)


class Packets:
    """The messages of a connection. A TLS session begins inside of them and then stands around them."""

    def __init__(self, peer):
        self.peer, self.tls = peer, None

    def received(self, size):
        data = self.peer.recv(size)
        if not data:
            raise EOFError
        return data

    def read(self, size):
        data = b""
        while len(data) < size:
            try:
                data += self.tls.read(size - len(data)) if self.tls else self.received(size - len(data))
            except ssl.SSLWantReadError:
                self.incoming.write(self.received(65536))
        return data

    def message(self):
        data, last = b"", False
        while not last:
            kind, last, size = struct.unpack(">BBH4x", self.read(8))
            data += self.read(size - 8)
        return kind, data

    def reply(self, data, kind=RESPONSE):
        packet = struct.pack(">BBHHBB", kind, 1, len(data) + 8, 0, 1, 0) + data
        if self.tls:
            self.tls.write(packet)
            packet = self.outgoing.read()
        self.peer.sendall(packet)

    def shake_hands(self, context):
        self.incoming, self.outgoing = ssl.MemoryBIO(), ssl.MemoryBIO()
        tls = context.wrap_bio(self.incoming, self.outgoing, server_side=True)
        finished = False
        while not finished:
            try:
                tls.do_handshake()
                finished = True
            except ssl.SSLWantReadError:
                pass
            if self.outgoing.pending:
                self.reply(self.outgoing.read(), PRELOGIN)
            if not finished:
                self.incoming.write(self.message()[1])
        self.tls = tls
        say("tls")


class Arguments:
    """Reads what a request brings behind its headers."""

    def __init__(self, data):
        self.data, self.at = data, struct.unpack_from("<I", data)[0]

    def take(self, form):
        value, = struct.unpack_from("<" + form, self.data, self.at)
        self.at += struct.calcsize("<" + form)
        return value

    def text(self, size, encoding="utf-16-le"):
        self.at += size
        return self.data[self.at - size:self.at].decode(encoding)

    def value(self):
        self.text(2 * self.take("B"))
        self.take("B")
        kind = self.take("B")
        if kind in (0x26, 0x6D):  # numbers
            self.take("B")
            size = self.take("B")
            return self.take({4: "i", 8: "q" if kind == 0x26 else "d"}[size]) if size else None
        form, none = ("I", 0xFFFFFFFF) if kind == 0x63 else ("H", 0xFFFF)  # NTEXT, else NVARCHAR
        self.take(form)
        self.at += len(COLLATION)
        size = self.take(form)
        return None if size == none else self.text(size)

    def calls(self):
        while self.at < len(self.data):
            size = self.take("H")
            name = PROCEDURES[self.take("H")] if size == 0xFFFF else self.text(2 * size).removeprefix("sp_")
            self.take("H")
            values = []
            while self.at < len(self.data) and self.data[self.at] not in (0x80, 0xFF):
                values.append(self.value())
            self.at += 1
            yield name, values, self.at < len(self.data)


def text(value, size="B"):
    return struct.pack("<" + size, len(value)) + value.encode("utf-16-le")


def token(kind, data):
    return struct.pack("<BH", kind, len(data)) + data


def done(kind=0xFD, status=0):
    return struct.pack("<BHHQ", kind, status | 0x10, 0xC1, 1)


def error(number, words, kind=0xFD, status=0):
    message = struct.pack("<IBB", number, 1, 16) + text(words, "H") + text("") * 2 + bytes(4)
    return token(0xAA, message) + done(kind, status | 2)


def result(sql, kind=0xFD, status=0):
    if "refused" in sql:
        return error(102, "Incorrect syntax.", kind, status)
    if not sql.startswith("SELECT"):
        return done(kind, status)
    columns, row = struct.pack("<BH", 0x81, len(COLUMNS)), b"\xD1"
    for name, value in COLUMNS.items():
        form, data = {int: lambda: (INT, struct.pack("<Bi", 4, value)),
                      float: lambda: (FLOAT, struct.pack("<Bd", 8, value)),
                      str: lambda: (VARCHAR, struct.pack("<H", len(value)) + value.encode())}[type(value)]()
        columns += struct.pack("<IH", 0, 9) + form + text(name)
        row += data
    return columns + (b"" if "WHERE 1=0" in sql else row) + done(kind, status)


class Session:
    def __init__(self):
        self.prepared, self.stuck = {}, False

    def answer(self, kind, data):
        if kind == ATTENTION:
            say("cancel")
            return b"" if self.stuck else done(status=0x20)
        self.stuck = "stuck".encode("utf-16-le") in data
        if self.stuck or "locked".encode("utf-16-le") in data:
            return b""
        if kind == TRANSACTION:
            request = Arguments(data).take("H")
            say({5: "begin", 7: "commit", 8: "rollback"}[request])
            ended = b"" if request == 5 else token(0xE3, bytes([request + 2, 0, 8]) + bytes(8))
            return ended + token(0xE3, bytes([8, 8]) + bytes(range(1, 9)) + b"\x00") + done()
        if kind == BATCH:
            arguments = Arguments(data)
            sql = arguments.text(len(data) - arguments.at)
            say("batch", sql)
            return result(sql)
        calls = list(Arguments(data).calls())
        say("calls", len(calls), *calls[0][:2])
        return b"".join(self.call(*each) for each in calls)

    def call(self, name, values, more):
        answer = b""
        if name in ("prepare", "prepexec"):
            self.prepared[len(self.prepared) + 1] = values[2]
        if name in ("execute", "prepexec"):
            answer += result(values[2] if name == "prepexec" else self.prepared[values[0]], 0xFF, 1)
        if name in ("prepare", "prepexec"):
            answer += b"\xAC" + bytes(3) + b"\x01" + bytes(6) + INT + struct.pack("<Bi", 4, len(self.prepared))
        return answer + b"\x79" + bytes(4) + done(0xFE, 1 if more else 0)


def log_in(packets, context):
    asked = packets.message()[1]
    wanted, at = NOT_SUPPORTED, 0
    while asked[at] != 0xFF:
        option, offset, _ = struct.unpack_from(">BHH", asked, at)
        if option == 1:
            wanted = asked[offset]
        at += 5
    encryption = wanted if context else NOT_SUPPORTED
    packets.reply(struct.pack(">BHHBHHB", 0, 11, 6, 1, 17, 1, 0xFF) + bytes([16, 0, 0, 0, 0, 0, encryption]))
    if encryption != NOT_SUPPORTED:
        packets.shake_hands(context)
    login = packets.message()[1]
    say("login")
    if encryption == 0:  # of the log-in alone
        packets.tls = None
    if "nobody".encode("utf-16-le") in login:
        packets.reply(error(18456, "Login failed for user 'nobody'."))
        raise EOFError
    name = "Another Server" if "stranger".encode("utf-16-le") in login else "Microsoft SQL Server"
    program = struct.pack(">BI", 1, 0x74000004) + text(name) + bytes([16, 0, 0, 0])
    packets.reply(token(0xE3, b"\x07\x05" + COLLATION + b"\x00") + token(0xAD, program) + done())


def serve(peer, context):
    packets, session = Packets(peer), Session()
    try:
        log_in(packets, context)
        while True:
            if answer := session.answer(*packets.message()):
                packets.reply(answer)
    except (EOFError, OSError):
        peer.close()


def main():
    context = None
    if len(sys.argv) > 1:
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.maximum_version = ssl.TLSVersion.TLSv1_2  # of a session inside of messages
        context.load_cert_chain(*sys.argv[1:])
    listener = socket.create_server(("127.0.0.1", 0))
    say(listener.getsockname()[1])
    while True:
        threading.Thread(target=serve, args=(listener.accept()[0], context), daemon=True).start()


main()
