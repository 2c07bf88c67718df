#!/usr/bin/env python3
"""Writes a phone's backup around a Messages database, for tests of the program that reads one.

It follows published descriptions of the format and shares no code with the reader:

    Manifest.db      table Files: where each file came from, and a keyed archive that describes it
    Manifest.plist   IsEncrypted; if so, ManifestKey and BackupKeyBag
    Info.plist       the device, and the date
    Status.plist     SnapshotState is "finished" when the backup is complete
    <SHA-1>          each file, named after its domain and path

Beside the files that the reader needs, the backup contains others that it must leave alone. They
are not what their names say, their records are garbage, and only root may open them.
"""

import argparse
import datetime
import hashlib
import json
import os
import pathlib
import plistlib
import shutil
import sqlite3
import struct
import tempfile
import uuid

from cryptography.hazmat.primitives.ciphers import Cipher, algorithms, modes
from cryptography.hazmat.primitives.keywrap import aes_key_wrap

MESSAGES = "Library/SMS/sms.db"
ADDRESS_BOOK = "Library/AddressBook/AddressBook.sqlitedb"
DECOYS = [
    ("HomeDomain", "Library/SMS/sms.db-shm"),
    ("HomeDomain", "Library/SMS/sms-temp.db"),
    ("HomeDomain", "Library/AddressBook/AddressBookImages.sqlitedb"),
    ("AppDomain-app.korvane.decoy", MESSAGES),
    ("MediaDomain", "Library/SMS/Attachments/00/IMG_0001.HEIC"),
    ("KeychainDomain", "keychain-backup.plist"),
]
FILE, FOLDER = 1, 2  # values of Files.flags
BY_DEVICE, BY_PASSWORD = 1, 2  # bits of WRAP: what a class key is wrapped with
BLOCK = 16  # bytes of AES


def be32(number):
    return struct.pack(">I", number)


def entry(tag, value, length=None):
    """An entry of a key bag. `length` is what it claims to have, if that is a lie."""
    return tag + be32(len(value) if length is None else length) + value


def password_key(password, salt, rounds, first_salt=None, first_rounds=0):
    """The key that wraps the class keys. Backups made before iOS 10.2 have no first salt."""
    secret = password.encode()
    if first_salt is not None:
        secret = hashlib.pbkdf2_hmac("sha256", secret, first_salt, first_rounds, 32)
    return hashlib.pbkdf2_hmac("sha1", secret, salt, rounds, 32)


def encrypt(source, target, key, padded):
    """AES-256-CBC with a zero IV, and PKCS#7 padding or zeros up to the next block."""
    cipher = Cipher(algorithms.AES(key), modes.CBC(bytes(BLOCK))).encryptor()
    with open(source, "rb") as plain, open(target, "wb") as out:
        while chunk := plain.read(1 << 20):
            out.write(cipher.update(chunk))
        missing = BLOCK - plain.tell() % BLOCK
        padding = bytes([missing]) * missing if padded else bytes(missing % BLOCK)
        out.write(cipher.update(padding) + cipher.finalize())


class KeyBag:
    """The keys of the protection classes, and what the backup says of those in `wraps`."""

    def __init__(self, password, rounds, two_rounds, wraps):
        self.keys = {number: os.urandom(32) for number in range(1, 12)}
        salt, first_salt = os.urandom(20), os.urandom(20) if two_rounds else None
        wrapping = password_key(password, salt, rounds, first_salt, rounds)
        self.parts = [self.head(salt, first_salt, rounds)]
        self.parts += [self.class_part(number, wrap, wrapping) for number, wrap in wraps.items()]

    @staticmethod
    def head(salt, first_salt, rounds):
        head = (entry(b"VERS", be32(5)) + entry(b"TYPE", be32(1)) + entry(b"UUID", os.urandom(16))
                + entry(b"HMCK", os.urandom(40)) + entry(b"WRAP", be32(0))
                + entry(b"SALT", salt) + entry(b"ITER", be32(rounds)))
        if first_salt is not None:
            head += (entry(b"DPWT", be32(1)) + entry(b"DPIC", be32(rounds))
                     + entry(b"DPSL", first_salt))
        return head

    def class_part(self, number, wrap, wrapping):
        only_on_device = not wrap & BY_PASSWORD
        key = aes_key_wrap(os.urandom(32) if only_on_device else wrapping, self.keys[number])
        part = (entry(b"UUID", os.urandom(16)) + entry(b"CLAS", be32(number))
                + entry(b"WRAP", be32(wrap)) + entry(b"KTYP", be32(0)) + entry(b"WPKY", key))
        return part + (entry(b"PBKY", os.urandom(32)) if number == 2 else b"")

    def wrapped(self, key, number):
        """A file's key as records have it: the class, then the key wrapped with the class key."""
        return struct.pack("<I", number) + aes_key_wrap(self.keys[number], key)


# What can be wrong with a backup. Each function gets a part of it, and returns it damaged.
CLASS_DAMAGE = {  # the WRAP of each class, and the class of the messages
    "missing-class": lambda wraps, number: {n: w for n, w in wraps.items() if n != number},
    "device-class": lambda wraps, number: {**wraps, number: BY_DEVICE},
}
KEY_BAG_DAMAGE = {  # the bytes of the key bag, with the default rounds
    "absurd-keybag": lambda bag: bag + entry(b"WPKY", bytes(40), 0xFFFFFFFF),
    "absurd-first-entry": lambda bag: entry(b"VERS", b"", 0x7FFFFFFF) + bag[12:],
    "short-keybag": lambda bag: bag[:-20],
    "empty-keybag": lambda bag: b"",
    "keybag-without-salt": lambda bag: bag.replace(b"SALT", b"PEPP"),
    "short-number": lambda bag: bag.replace(entry(b"ITER", be32(100)), entry(b"ITER", b"\x64")),
    "no-rounds": lambda bag: bag.replace(entry(b"ITER", be32(100)), entry(b"ITER", be32(0))),
    "endless-rounds": lambda bag: bag.replace(be32(100), be32(0xFFFFFFFF)),
    "short-class-key": lambda bag: bag.replace(b"WPKY" + be32(40), b"WPKY" + be32(32)),
}
MANIFEST_DAMAGE = {  # the property list
    "no-keybag": lambda manifest: {**manifest, "BackupKeyBag": None},
    "no-manifest-key": lambda manifest: {**manifest, "ManifestKey": None},
    "short-manifest-key": lambda manifest: {**manifest, "ManifestKey": manifest["ManifestKey"][:3]},
    "text-for-keybag": lambda manifest: {**manifest, "BackupKeyBag": "text"},
    "list-manifest": lambda manifest: [manifest],
}
RECORD_DAMAGE = {  # the objects of the archive for the messages; the second describes the file
    "wrong-size": lambda objects: changed(objects, Size=objects[1]["Size"] + 4096),
    "negative-size": lambda objects: changed(objects, Size=-1),
    "huge-size": lambda objects: changed(objects, Size=2**62),
    "text-for-size": lambda objects: changed(objects, Size="large"),
    "wrong-key": lambda objects: with_key(objects, lambda key: key[:-1] + bytes([key[-1] ^ 1])),
    "short-key": lambda objects: with_key(objects, lambda key: key[:20]),
    "no-key": lambda objects: changed(objects, EncryptionKey=plistlib.UID(0)),
    "key-out-of-range": lambda objects: changed(objects, EncryptionKey=plistlib.UID(999)),
    "key-in-circle": lambda objects: changed(objects, EncryptionKey=plistlib.UID(1)),
}
THE_MESSAGES = f"domain = 'HomeDomain' AND relativePath = '{MESSAGES}'"
INDEX_DAMAGE = {  # statements for the index
    "no-messages": f"DELETE FROM Files WHERE {THE_MESSAGES}",
    "no-table": "DROP TABLE Files",
    "other-table": "ALTER TABLE Files RENAME COLUMN file TO document",
    "broken-record": f"UPDATE Files SET file = x'62706C697374' WHERE {THE_MESSAGES}",
    "no-record": f"UPDATE Files SET file = NULL WHERE {THE_MESSAGES}",
    "evil-id": f"UPDATE Files SET fileID = '../../etc/passwd' WHERE {THE_MESSAGES}",
}
FILE_DAMAGE = {  # the name of a file in the backup, or None for the messages, and its bytes
    "truncated-file": (None, lambda content: content[:len(content) // 2]),
    "odd-length": (None, lambda content: content[:-5]),
    "empty-file": (None, lambda content: b""),
    "missing-file": (None, lambda content: None),
    "broken-index": ("Manifest.db", lambda content: b"garbage " * (len(content) // 8)),
    "truncated-index": ("Manifest.db", lambda content: content[:len(content) // 2]),
    "no-index": ("Manifest.db", lambda content: None),
    "broken-manifest": ("Manifest.plist", lambda content: content[:len(content) // 2]),
    "no-manifest": ("Manifest.plist", lambda content: None),
    "no-status": ("Status.plist", lambda content: None),
    "broken-status": ("Status.plist", lambda content: b"garbage"),
    "no-info": ("Info.plist", lambda content: None),
}
ENCRYPTED_ONLY = {*CLASS_DAMAGE, *KEY_BAG_DAMAGE, *MANIFEST_DAMAGE, "wrong-key", "short-key",
                  "no-key", "key-out-of-range", "key-in-circle", "odd-length"} - {"list-manifest"}
DAMAGES = sorted({*CLASS_DAMAGE, *KEY_BAG_DAMAGE, *MANIFEST_DAMAGE, *RECORD_DAMAGE, *INDEX_DAMAGE,
                  *FILE_DAMAGE})


def changed(objects, **values):
    objects[1].update(values)
    return objects


def with_key(objects, change):
    data = objects[objects[1]["EncryptionKey"].data]
    data["NS.data"] = change(data["NS.data"])
    return objects


def unchanged(value, *_):
    return value


def file_id(domain, path):
    return hashlib.sha1(f"{domain}-{path}".encode()).hexdigest()


def archived(objects):
    return plistlib.dumps({"$version": 100000, "$archiver": "NSKeyedArchiver",
                           "$top": {"root": plistlib.UID(1)}, "$objects": objects},
                          fmt=plistlib.FMT_BINARY)


def record(path, size, protection_class, key=None):
    """The objects of the keyed archive that describes a file."""
    described = {"$class": plistlib.UID(3), "RelativePath": plistlib.UID(2), "Size": size,
                 "ProtectionClass": protection_class, "Flags": 0, "Mode": 0o100644, "UserID": 501,
                 "GroupID": 501, "InodeNumber": 4711, "LastModified": 1700000000,
                 "LastStatusChange": 1700000000, "Birth": 1600000000}
    objects = ["$null", described, path,
               {"$classname": "MBFile", "$classes": ["MBFile", "NSObject"]}]
    if key is not None:
        described["EncryptionKey"] = plistlib.UID(4)
        objects += [{"$class": plistlib.UID(5), "NS.data": key},
                    {"$classname": "NSMutableData",
                     "$classes": ["NSMutableData", "NSData", "NSObject"]}]
    return objects


def people_in(path):
    """The people in a JSON file, or in a file of cards as the program's own samples have them."""
    text = pathlib.Path(path).read_text(encoding="utf-8")
    return people_in_cards(text) if text.startswith("BEGIN:VCARD") else json.loads(text)


def people_in_cards(text):
    people = []
    for line in text.splitlines():
        name, _, value = line.partition(":")
        kind = name.partition(";")[0]
        if kind == "BEGIN":
            people.append({"phones": [], "emails": []})
        elif kind == "N":
            people[-1]["last"], people[-1]["first"] = value.split(";")[:2]
        elif kind == "ORG":
            people[-1]["organization"] = value
        elif kind in ("TEL", "EMAIL"):
            people[-1]["phones" if kind == "TEL" else "emails"].append(value)
    return people


def write_address_book(path, people):
    database = sqlite3.connect(path)
    database.executescript("""
        PRAGMA synchronous = OFF;
        CREATE TABLE ABPerson (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, First TEXT, Last TEXT,
            Middle TEXT, Organization TEXT, Note TEXT, Nickname TEXT, CreationDate INTEGER);
        CREATE TABLE ABMultiValue (UID INTEGER PRIMARY KEY, record_id INTEGER, property INTEGER,
            identifier INTEGER, label INTEGER, value TEXT, guid TEXT UNIQUE);""")
    for person in people:
        row = database.execute(
            "INSERT INTO ABPerson(First, Last, Organization) VALUES (?, ?, ?)",
            [person.get(part) for part in ("first", "last", "organization")]).lastrowid
        for number, values in (3, "phones"), (4, "emails"):
            database.executemany(
                "INSERT INTO ABMultiValue(record_id, property, value, guid) VALUES (?, ?, ?, ?)",
                [(row, number, value, str(uuid.uuid4())) for value in person.get(values, [])])
    database.commit()
    database.close()


class Backup:
    """A backup in the making. `options` are those of the command line."""

    def __init__(self, options):
        self.options = options
        self.folder = options.out
        self.folder.mkdir(parents=True)
        self.encrypted = options.password is not None
        self.bag = self.key_bag() if self.encrypted else None
        self.index_path = self.folder / "Manifest.db"
        self.index = self.new_index()

    def new_index(self):
        index = sqlite3.connect(self.index_path)
        index.executescript("""
            PRAGMA synchronous = OFF;
            CREATE TABLE Files (fileID TEXT PRIMARY KEY, domain TEXT, relativePath TEXT,
                flags INTEGER, file BLOB);
            CREATE TABLE Properties (key TEXT PRIMARY KEY, value BLOB);
            CREATE INDEX FilesDomainIdx ON Files(domain);
            CREATE INDEX FilesRelativePathIdx ON Files(relativePath);""")
        return index

    def key_bag(self):
        options = self.options
        wraps = {number: BY_PASSWORD for number in (1, 2, 3, 4, 5)}
        wraps.update({number: BY_DEVICE | BY_PASSWORD for number in (6, 7, 8)})
        wraps.update({number: BY_DEVICE for number in (9, 10, 11)})
        wraps = CLASS_DAMAGE.get(options.damage, unchanged)(wraps, options.classes["messages"])
        return KeyBag(options.password, options.iterations, not options.no_dpsl, wraps)

    def path_of(self, domain, path):
        name = file_id(domain, path)
        return self.folder / (name[:2] if self.options.layout == "folders" else "") / name

    def list_file(self, domain, path, flags, archive):
        self.index.execute("INSERT INTO Files VALUES (?, ?, ?, ?, ?)",
                           (file_id(domain, path), domain, path, flags, archive))

    def add(self, path, source, role):
        """Adds a file of the home domain that the reader needs."""
        number = self.options.classes[role]
        key = os.urandom(32) if self.encrypted else None
        target = self.path_of("HomeDomain", path)
        target.parent.mkdir(exist_ok=True)
        if self.encrypted:
            encrypt(source, target, key, padded=self.options.padding != "none")
        else:
            shutil.copyfile(source, target)
        wrapped = self.bag.wrapped(key, number) if self.encrypted else None
        objects = record(path, os.path.getsize(source), number, wrapped)
        if role == "messages":
            objects = RECORD_DAMAGE.get(self.options.damage, unchanged)(objects)
        self.list_file("HomeDomain", path, FILE, archived(objects))

    def add_empty_log(self):
        """Lists a log of 0 bytes, for which the backup has neither a file nor a key."""
        path = MESSAGES + "-wal"
        objects = record(path, 0, self.options.classes["log"])
        self.list_file("HomeDomain", path, FILE, archived(objects))

    def add_decoys(self):
        self.list_file("HomeDomain", "Library/SMS", FOLDER, b"garbage")
        for domain, path in DECOYS:
            target = self.path_of(domain, path)
            target.parent.mkdir(exist_ok=True)
            target.write_bytes(b"Nobody needs to read this. " * 100)
            target.chmod(0)
            self.list_file(domain, path, FILE, b"garbage")

    def finish(self):
        """Writes what describes the backup, then breaks what is to be damaged."""
        self.index.executescript(INDEX_DAMAGE.get(self.options.damage, ""))
        self.index.commit()
        self.index.close()
        self.write_plist("Manifest.plist", self.manifest(), plistlib.FMT_BINARY)
        self.write_plist("Info.plist", self.info(), plistlib.FMT_XML)
        self.write_plist("Status.plist", self.status(), plistlib.FMT_BINARY)
        name, damage = FILE_DAMAGE.get(self.options.damage, (None, None))
        if damage:
            self.damage_file(self.folder / name if name else self.path_of("HomeDomain", MESSAGES),
                             damage)

    @staticmethod
    def damage_file(path, damage):
        content = damage(path.read_bytes())
        path.unlink()
        if content is not None:
            path.write_bytes(content)

    def manifest(self):
        options = self.options
        manifest = {"Version": "10.0", "Date": options.date, "IsEncrypted": self.encrypted,
                    "WasPasscodeSet": True, "SystemDomainsVersion": "24.0", "Applications": {},
                    "Lockdown": {"DeviceName": options.device_name, "ProductVersion": "17.6.1",
                                 "ProductType": "iPhone14,5", "UniqueDeviceID": self.folder.name}}
        if self.encrypted:
            bag = KEY_BAG_DAMAGE.get(options.damage, unchanged)(b"".join(self.bag.parts))
            manifest.update(BackupKeyBag=bag, ManifestKey=self.encrypt_index())
        manifest = MANIFEST_DAMAGE.get(options.damage, unchanged)(manifest)
        if isinstance(manifest, dict):
            return {name: value for name, value in manifest.items() if value is not None}
        return manifest

    def encrypt_index(self):
        """Encrypts the index and returns its wrapped key."""
        key = os.urandom(32)
        plain = self.index_path.rename(self.folder / "plain.db")
        encrypt(plain, self.index_path, key, padded=self.options.padding == "all")
        plain.unlink()
        return self.bag.wrapped(key, self.options.classes["manifest"])

    def info(self):
        return {"Device Name": self.options.device_name, "Display Name": self.options.device_name,
                "Last Backup Date": self.options.date, "Product Type": "iPhone14,5",
                "Product Version": "17.6.1", "Target Identifier": self.folder.name,
                "Target Type": "Device", "Unique Identifier": self.folder.name.upper()}

    def status(self):
        return {"BackupState": "new", "Date": self.options.date, "IsFullBackup": True,
                "SnapshotState": "uploading" if self.options.unfinished else "finished",
                "UUID": str(uuid.uuid4()).upper(), "Version": "3.3"}

    def write_plist(self, name, content, kind):
        with open(self.folder / name, "wb") as file:
            plistlib.dump(content, file, fmt=kind)


def classes(text):
    """The protection classes of files, such as "messages=3,log=4"."""
    chosen = {"manifest": 4, "messages": 3, "log": 1, "contacts": 7}
    for part in filter(None, text.split(",")):
        role, number = part.split("=")
        if role not in chosen:
            raise argparse.ArgumentTypeError(f"there is no file {role}")
        chosen[role] = int(number)
    return chosen


def utc(text):
    date = datetime.datetime.fromisoformat(text)
    return date.astimezone(datetime.timezone.utc).replace(tzinfo=None) if date.tzinfo else date


def parsed(arguments):
    parser = argparse.ArgumentParser(description="Writes a phone's backup for tests.")
    parser.add_argument("out", type=pathlib.Path, metavar="OUT_DIR",
                        help="the folder of the backup, which must not exist")
    parser.add_argument("--database", required=True, help="the Messages database")
    parser.add_argument("--wal", help="its write-ahead log")
    parser.add_argument("--empty-log", action="store_true",
                        help="lists a log of 0 bytes that has neither a file nor a key")
    parser.add_argument("--address-book", metavar="FILE",
                        help="vCards, or a JSON list: first, last, organization, phones, emails")
    parser.add_argument("--password", help="encrypts the backup; may be empty")
    parser.add_argument("--iterations", type=int, default=100,
                        help="rounds of each key derivation; phones use 10,000,000 and 10,000")
    parser.add_argument("--no-dpsl", action="store_true", help="derives the key in one step")
    parser.add_argument("--padding", choices=["files", "all", "none"], default="files",
                        help="what has PKCS#7 padding; all includes the index")
    parser.add_argument("--layout", choices=["flat", "folders"], default="folders")
    parser.add_argument("--classes", type=classes, default="", metavar="FILE=CLASS,…",
                        help="classes of manifest, messages, log and contacts")
    parser.add_argument("--device-name", default="Ann’s iPhone")
    parser.add_argument("--date", type=utc, default="2026-11-01T18:30:00Z", metavar="ISO")
    parser.add_argument("--unfinished", action="store_true")
    parser.add_argument("--damage", choices=DAMAGES)
    options = parser.parse_args(arguments)
    if options.damage in ENCRYPTED_ONLY and options.password is None:
        parser.error(f"--damage {options.damage} needs --password")
    return options


def main(arguments=None):
    options = parsed(arguments)
    backup = Backup(options)
    backup.add(MESSAGES, options.database, "messages")
    if options.wal:
        backup.add(MESSAGES + "-wal", options.wal, "log")
    if options.empty_log:
        backup.add_empty_log()
    if options.address_book:
        with tempfile.TemporaryDirectory() as folder:
            book = os.path.join(folder, "AddressBook.sqlitedb")
            write_address_book(book, people_in(options.address_book))
            backup.add(ADDRESS_BOOK, book, "contacts")
    backup.add_decoys()
    backup.finish()


if __name__ == "__main__":
    main()
