"""Reads export files by the rules of docs/export-format.md and prints each chat's records in order,
one JSON object a line, as "korvane-sync read --json" does. Written from that document alone, to be
compared with the program.

Usage: second_reader.py FOLDER
"""
import decimal
import json
import pathlib
import re
import sys

START = b'{"attachmentCount":'
REQUIRED = {"attachmentCount": int, "body": str, "conversationID": str, "conversationName": str,
            "date": str, "id": str, "isOutgoing": bool, "sender": str, "textUnavailable": bool}
OPTIONAL = {"photoCount": int, "reactionKind": str, "reactionTargetID": str, "recordKind": str,
            "replyToID": str, "senderID": str}
TYPES = REQUIRED | OPTIONAL


def is_value(value, kind):
    if kind is int:
        return type(value) is int and -2**63 <= value < 2**63
    # A lone surrogate is no text: it cannot be written as UTF-8.
    return type(value) is kind and (kind is not str or not re.search("[\ud800-\udfff]", value))


def refuse(token):
    raise ValueError(f"{token} is not JSON")


def number(text):
    """A number with a fraction or an exponent, which can be an integer all the same: 1.0, 1e2."""
    value = decimal.Decimal(text)
    whole = abs(value.adjusted()) < 20 and value == value.to_integral_value()
    return int(value) if whole else value


def first_of_each(pairs):
    """JSON leaves open which of two equal keys counts: after damage, the program takes the first."""
    return dict(reversed(pairs))


def record_in(text):
    """The known keys of a complete record, in their order, or None."""
    try:
        found = json.loads(text.decode("utf-8"), parse_constant=refuse, parse_float=number,
                           object_pairs_hook=first_of_each)
    except (ValueError, ArithmeticError, RecursionError):
        return None
    if not isinstance(found, dict):
        return None
    record = {key: found[key] for key in sorted(TYPES) if found.get(key) is not None}
    complete = REQUIRED.keys() <= record.keys()
    valid = all(is_value(value, TYPES[key]) for key, value in record.items())
    return record if complete and valid else None


def records_in(line):
    """Those of a line: one, or what is complete in a line that something tore."""
    whole = record_in(line)
    if whole:
        return [whole]
    starts = [match.start() for match in re.finditer(re.escape(START), line)]
    parts = [line[start:end] for start, end in zip(starts, starts[1:] + [len(line)])]
    return [record for part in parts if (record := record_in(part))]


def records_of(path):
    """By id; the last of several records with one id counts."""
    records = {}
    for line in path.read_bytes().split(b"\n"):
        records.update((record["id"], record) for record in records_in(line))
    return list(records.values())


def chat_of(path):
    """The chat and its present title, from the last record. An unfinished last line counts least."""
    *lines, unfinished = path.read_bytes().split(b"\n")
    for line in [*reversed(lines), unfinished]:
        if records := records_in(line):
            return records[-1]["conversationID"], records[-1]["conversationName"]
    return None


def row_of(record):
    digits = record["id"].rpartition(":")[2]
    row = int(digits) if re.fullmatch("-?[0-9]{1,19}", digits) else 0
    return row if -2**63 <= row < 2**63 else 0


def files_by_chat(folder):
    """The files of each chat: the current one first, then those in Kept, newest first."""
    def age(path):
        return -int(path.stat().st_mtime), bytes(path)
    current = sorted(folder.glob("*.jsonl.txt"), key=age)
    kept = sorted((path for path in folder.glob("Kept/*")
                   if path.name.endswith((".jsonl.txt", ".jsonl.txt.unchecked"))), key=age)
    chats = {}
    for path in current + kept:
        if chat := chat_of(path):
            chats.setdefault(chat[0], (chat[1], []))[1].append(path)
    return chats


def content_of(record):
    return tuple(record.get(key) for key in ("date", "senderID", "isOutgoing", "recordKind",
                                             "reactionKind", "body", "attachmentCount", "photoCount"))


def conversation(paths):
    """A record of a later file is the same message as an earlier one if id, date and sender id agree,
    or if their content agrees; each earlier one is the message of one record of a file at most."""
    all_records = []
    for path in paths:
        mine = {(record["id"], record["date"], record.get("senderID")): record
                for record in records_of(path)}
        free = {}
        for record in all_records:
            key = record["id"], record["date"], record.get("senderID")
            if mine.pop(key, None) is None:
                free.setdefault(content_of(record), []).append(record)
        for record in sorted(mine.values(), key=row_of):
            twins = free.get(content_of(record))
            if twins:
                twins.pop()
            else:
                all_records.append(record)
    return sorted(all_records, key=lambda record: (record["date"].encode(), row_of(record)))


def main(folder):
    chats = files_by_chat(pathlib.Path(folder))
    for guid in sorted(chats, key=lambda guid: (chats[guid][0].casefold(), guid)):
        for record in conversation(chats[guid][1]):
            print(json.dumps(record, ensure_ascii=False, separators=(",", ":")))


if __name__ == "__main__":
    sys.stdout.reconfigure(encoding="utf-8", newline="\n")
    main(sys.argv[1])
