"""As much of a server of TDS 7.4 as it takes to see what a driver sends, and in how many requests.

usage: tds_server.py [CERTIFICATE KEY | DATABASE]

Prints the port on 127.0.0.1 that it listens on, and then a line for each event: "tls" for a
handshake that succeeded, "login", and each request with its text or its calls. With a certificate
it takes the log-in encrypted, and everything where the driver asks for that. The user "nobody" is
refused.

With a database, a file of SQLite's, it does what it is told: see tds_store.py. Without one, a SELECT
is answered with the columns of MeasuredValues, and with one row unless it says WHERE 1=0. A request
that says "locked" is answered once it is cancelled, one that says "stuck" not even then, and one
that says "refused" fails.
"""
import socket
import ssl
import struct
import sys
import threading

from tds_store import Cancelled, Refused, Store, opened

BATCH, RESPONSE, ATTENTION, PRELOGIN = 1, 4, 6, 18
NOT_SUPPORTED = 2
PACKET = 4096
PROCEDURES = {11: "prepare", 12: "execute", 13: "prepexec", 15: "unprepare"}
COLUMNS = {"MeasValueId": 1, "PeriodNo": 2, "Channel": 3, "FuncId": 4, "FrqId": 5, "Value": 0.5, "Status": "A"}
COLLATION = bytes([0x09, 0x04, 0xD0, 0x00, 0x34])
INT, BIGINT, FLOAT = b"\x26\x04", b"\x26\x08", b"\x6D\x08"
TEXT, LONG_TEXT = b"\xE7\x40\x1F" + COLLATION, b"\xE7\xFF\xFF" + COLLATION
MOST_TEXT = 4000  # letters, where it is not a long one


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
        room = PACKET - 8
        for at in range(0, max(len(data), 1), room):
            piece = data[at:at + room]
            packet = struct.pack(">BBHHBB", kind, at + room >= len(data), len(piece) + 8, 0, 1, 0) + piece
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


def form_of(values):
    """The type of a column that holds these values."""
    kinds = {type(value) for value in values}
    if str in kinds:
        return LONG_TEXT if any(len(value) > MOST_TEXT for value in values if value) else TEXT
    if float in kinds:
        return FLOAT
    return BIGINT if any(abs(value) > 0x7FFFFFFF for value in values if value) else INT


def cell(form, value):
    if form in (TEXT, LONG_TEXT):
        if value is None:
            return b"\xFF" * (2 if form == TEXT else 8)
        data = str(value).encode("utf-16-le")
        if form == TEXT:
            return struct.pack("<H", len(data)) + data
        return struct.pack("<QI", len(data), len(data)) + data + bytes(4)
    if value is None:
        return b"\x00"
    return struct.pack({INT: "<Bi", BIGINT: "<Bq", FLOAT: "<Bd"}[form], form[1], value)


def result(names, rows, kind=0xFD, status=0):
    if not names:
        return done(kind, status)
    forms = [form_of(values) for values in zip(*rows)] or [INT] * len(names)
    answer = bytearray(struct.pack("<BH", 0x81, len(names)))
    for name, form in zip(names, forms):
        answer += struct.pack("<IH", 0, 9) + form + text(name)
    for row in rows:
        answer += b"\xD1" + b"".join(map(cell, forms, row))
    return bytes(answer) + done(kind, status)


class Script:
    """Answers as the text of a statement asks for it, and keeps nothing."""

    def close(self):
        pass

    def run(self, sql, _parameters=()):
        if "refused" in sql:
            raise Refused("refused")
        if not sql.startswith("SELECT"):
            return [], []
        return list(COLUMNS), [] if "WHERE 1=0" in sql else [tuple(COLUMNS.values())]


class Session:
    def __init__(self, store):
        self.prepared, self.stuck, self.store = {}, False, store

    def answer(self, kind, data):
        if kind == ATTENTION:
            say("cancel")
            return b"" if self.stuck else done(status=0x20)
        self.stuck = "stuck".encode("utf-16-le") in data
        if self.stuck or "locked".encode("utf-16-le") in data:
            return b""
        if kind == BATCH:
            arguments = Arguments(data)
            sql = arguments.text(len(data) - arguments.at)
            say("batch", sql)
            return self.run(sql)
        calls = list(Arguments(data).calls())
        say("calls", len(calls), *calls[0][:2])
        return b"".join(self.call(*each) for each in calls)

    def run(self, sql, parameters=(), kind=0xFD, status=0):
        try:
            return result(*self.store.run(sql, parameters), kind, status)
        except Refused as refused:
            return error(refused.number, str(refused), kind, status)

    def call(self, name, values, more):
        answer = b""
        if name in ("prepare", "prepexec"):
            self.prepared[len(self.prepared) + 1] = values[2]
        if name in ("execute", "prepexec"):
            sql, first = (values[2], 3) if name == "prepexec" else (self.prepared[values[0]], 1)
            answer += self.run(sql, values[first:], 0xFF, 1)
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


def serve(peer, context, database):
    peer.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
    packets, store = Packets(peer), None
    try:
        log_in(packets, context)
        store = Store(database, peer) if database else Script()
        session = Session(store)
        while True:
            try:
                answer = session.answer(*packets.message())
            except Cancelled:
                continue  # the message that did it is the next
            if answer:
                packets.reply(answer)
    except (EOFError, OSError):
        pass
    finally:
        peer.close()
        if store:
            store.close()


def main():
    context, database = None, None
    if len(sys.argv) > 2:
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.maximum_version = ssl.TLSVersion.TLSv1_2  # of a session inside of messages
        context.load_cert_chain(*sys.argv[1:])
    elif len(sys.argv) > 1:
        database = sys.argv[1]
        kept = opened(database)  # so that the log is not taken away with each last session
    listener = socket.create_server(("127.0.0.1", 0))
    say(listener.getsockname()[1])
    while True:
        threading.Thread(target=serve, args=(listener.accept()[0], context, database), daemon=True).start()


main()
