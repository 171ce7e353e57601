"""A database behind tds_server.py that keeps what it is told: SQLite, as far as it can be dressed as
SQL Server. The statements that reach it are in SQL Server's language, and so are its refusals."""
import re
import select
import sqlite3

STATEMENTS = [(re.compile(pattern, re.I), replacement) for pattern, replacement in (
    (r"\bN$", ""),  # in front of a literal
    (r"\bWITH\s*\(\s*\w+(\s*,\s*\w+)*\s*\)", ""),
    (r"\bCLUSTERED INDEX\b", "INDEX"),
    (r"\bdbo\.sysobjects\b", "(SELECT lower(name) id FROM sqlite_schema WHERE type='table')"),
    (r"\bdbo\.", ""),
    (r"^\s*SELECT TOP \(?(\d+)\)?(.*)", r"SELECT\2 LIMIT \1"),
)]
DEFINITIONS = [(re.compile(pattern, re.I), replacement) for pattern, replacement in (
    (r"--[^\n]*", ""),
    (r"\bint IDENTITY NOT NULL\b", "INTEGER"),
    (r"(\w+)\s+int\b", r"\1 INTEGER CHECK (\1 BETWEEN -2147483648 AND 2147483647)"),
    (r"(\w+)\s+n?varchar\((\d+)\)", r"\1 TEXT CHECK (length(\1) <= \2)"),
    (r"(\w+)\s+float\b", r"\1 REAL"),
    (r"(CREATE TABLE.*\))\s*;?\s*$", r"\1 STRICT"),
)]
REFUSALS = [(re.compile(pattern), number, words) for pattern, number, words in (
    (r"UNIQUE constraint failed", 2627, "Violation of a key. Cannot insert duplicate key."),
    (r"NOT NULL constraint failed", 515, "Cannot insert the value NULL."),
    (r"CHECK constraint failed: length", 2628, "String or binary data would be truncated."),
    (r"CHECK constraint failed", 8115, "Arithmetic overflow error."),
    (r"cannot store", 245, "Conversion failed when converting a value."),
    (r"no such table: (.*)", 208, r"Invalid object name '\1'."),
    (r"no such column: (.*)", 207, r"Invalid column name '\1'."),
    (r"", 102, "Incorrect syntax."),
)]
TRANSACTIONS = {"BEGIN": None, "COMMIT": "COMMIT", "IF": "ROLLBACK"}  # by the word they begin with


class Refused(Exception):
    def __init__(self, words):
        for pattern, self.number, told in REFUSALS:
            if match := pattern.match(words):
                return super().__init__(match.expand(told))


class Cancelled(Exception):
    pass


def compare(left, right):
    left, right = left.rstrip(" ").casefold(), right.rstrip(" ").casefold()
    return (left > right) - (left < right)


def rewritten(sql, rules):
    for pattern, replacement in rules:
        sql = pattern.sub(replacement, sql)
    return sql


def translated(sql):
    parts = re.split(r"('(?:[^']|'')*')", sql)
    parts[::2] = [rewritten(part, STATEMENTS) for part in parts[::2]]
    sql = "".join(parts)
    return rewritten(sql, DEFINITIONS) if re.match(r"\s*(--[^\n]*\s*)*(CREATE|ALTER)\s+TABLE\b", sql, re.I) else sql


def opened(path):
    """With a log, so that readers do not wait for whoever writes."""
    database = sqlite3.connect(path, timeout=30, isolation_level=None)
    for setting in ("journal_mode=WAL", "synchronous=NORMAL", "busy_timeout=0"):
        database.execute(f"PRAGMA {setting}").fetchall()
    return database


class Store:
    """What one connection does to the file. Its end undoes what is not committed."""

    def __init__(self, path, peer):
        self.peer, self.in_transaction = peer, False
        self.database = opened(path)
        self.database.create_collation("Latin1_General_CI_AS", compare)
        self.database.create_function("OBJECT_ID", 1, lambda name: re.sub(r"\[dbo\]\.|[][]", "", name).lower())
        self.database.create_function("OBJECTPROPERTY", 2, lambda _id, _name: 1)

    def close(self):
        self.database.close()

    def run(self, sql, parameters=()):
        """The names and the rows of the result, which are both empty where there is none."""
        word = re.match(r"\s*(\w*)", sql)[1].upper()
        if word in ("SET", "USE"):
            return [], []
        if word in TRANSACTIONS:
            return self.turn(word)
        if self.in_transaction and not self.database.in_transaction:
            self.wait("BEGIN IMMEDIATE")
        return self.wait(translated(sql), {f"P{number + 1}": value for number, value in enumerate(parameters)})

    def turn(self, word):
        if word == "COMMIT" and not self.in_transaction:
            raise Refused("no transaction is active")
        self.in_transaction = word == "BEGIN"
        if not self.in_transaction and self.database.in_transaction:
            self.wait(TRANSACTIONS[word])
        return [], []

    def wait(self, sql, parameters=()):
        """Runs it as soon as the locks of others let it, unless the client sends a word meanwhile."""
        while True:
            try:
                rows = self.database.execute(sql, parameters)
                return [column[0] for column in rows.description or ()], rows.fetchall()
            except sqlite3.OperationalError as error:
                if "is locked" not in str(error):
                    raise Refused(str(error)) from error
                if select.select([self.peer], [], [], 0.005)[0]:
                    raise Cancelled from error
            except sqlite3.Error as error:
                raise Refused(str(error)) from error
