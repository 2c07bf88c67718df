#!/usr/bin/env python3
"""Reads what make_backup.py writes with the openssl command, and checks published test vectors."""

import contextlib
import hashlib
import io
import pathlib
import plistlib
import sqlite3
import struct
import subprocess
import tempfile
import unittest

import make_backup

MESSAGES_ID = "3d0d7e5fb2ce288813306e4d4636395e047a3d28"
ADDRESS_BOOK_ID = "31bb7ba8914766d4ba40d6dfb6113c8b614be442"


def openssl(*arguments, data=b""):
    return subprocess.run(["openssl", *arguments], input=data, check=True,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE).stdout


def derived(digest, secret, salt, rounds):
    text = openssl("kdf", "-keylen", "32", "-kdfopt", f"digest:{digest}",
                   "-kdfopt", f"hexpass:{secret.hex()}", "-kdfopt", f"hexsalt:{salt.hex()}",
                   "-kdfopt", f"iter:{rounds}", "PBKDF2").decode()
    return bytes.fromhex(text.strip().replace(":", ""))


def unwrapped(wrapped, key):
    """RFC 3394, section 2.2.2. Newer versions of "openssl enc" do not offer this mode."""
    check, *blocks = (wrapped[at:at + 8] for at in range(0, len(wrapped), 8))
    for step in range(6 * len(blocks), 0, -1):
        place = (step - 1) % len(blocks)
        mixed = int.from_bytes(check, "big") ^ step
        plain = openssl("enc", "-d", "-aes-256-ecb", "-nopad", "-K", key.hex(),
                        data=mixed.to_bytes(8, "big") + blocks[place])
        check, blocks[place] = plain[:8], plain[8:]
    if check != b"\xa6" * 8:
        raise ValueError("the key does not fit")
    return b"".join(blocks)


def decrypted(path, key):
    return openssl("enc", "-d", "-aes-256-cbc", "-nopad", "-K", key.hex(), "-iv", "0" * 32,
                   data=path.read_bytes())


def entries(bag):
    while bag:
        length = struct.unpack(">I", bag[4:8])[0]
        if 8 + length > len(bag):
            raise ValueError("an entry is longer than the key bag")
        yield bag[:4].decode(), bag[8:8 + length]
        bag = bag[8 + length:]


def number(value):
    return struct.unpack(">I", value)[0]


class Opened:
    """A backup, opened with its password."""

    def __init__(self, folder, password):
        self.folder = folder
        self.manifest = plistlib.loads((folder / "Manifest.plist").read_bytes())
        self.head, self.classes = self.parsed(self.manifest["BackupKeyBag"])
        self.password_key = self.derived_key(password.encode())
        self.index = folder.parent / "index.db"
        self.index.write_bytes(decrypted(folder / "Manifest.db",
                                         self.key(self.manifest["ManifestKey"])))

    @staticmethod
    def parsed(bag):
        head, classes = {}, []
        for tag, value in entries(bag):
            if tag == "UUID" and "UUID" in head:
                classes.append({})
            (classes[-1] if classes else head)[tag] = value
        return head, {number(part["CLAS"]): part for part in classes}

    def derived_key(self, secret):
        head = self.head
        if "DPSL" in head:
            secret = derived("SHA256", secret, head["DPSL"], number(head["DPIC"]))
        return derived("SHA1", secret, head["SALT"], number(head["ITER"]))

    def key(self, wrapped):
        part = self.classes[struct.unpack("<I", wrapped[:4])[0]]
        return unwrapped(wrapped[4:], unwrapped(part["WPKY"], self.password_key))

    def row(self, identifier):
        with contextlib.closing(sqlite3.connect(self.index)) as index:
            return index.execute("SELECT domain, relativePath, flags, file FROM Files "
                                 "WHERE fileID = ?", [identifier]).fetchone()

    def described(self, identifier):
        archive = plistlib.loads(self.row(identifier)[3])
        objects = archive["$objects"]
        return objects, objects[archive["$top"]["root"].data]

    def path(self, identifier):
        return self.folder / identifier[:2] / identifier

    def file_key(self, identifier):
        objects, described = self.described(identifier)
        return self.key(objects[described["EncryptionKey"].data]["NS.data"])

    def content(self, identifier):
        size = self.described(identifier)[1]["Size"]
        return decrypted(self.path(identifier), self.file_key(identifier))[:size]


class MakeBackupTest(unittest.TestCase):
    def setUp(self):
        self.home = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.database = self.home / "chat.db"
        self.database.write_bytes(b"messages " * 1001)
        self.log = self.home / "chat.db-wal"
        self.log.write_bytes(b"log " * 77)
        self.people = self.home / "people.json"
        self.people.write_text('[{"first": "Zoë", "last": "Okafor", "phones": ["+12015550117"],'
                               ' "emails": ["zoe@example.com"]}]')

    def make(self, *options, name="phone"):
        folder = self.home / name
        make_backup.main([str(folder), "--database", str(self.database), "--wal", str(self.log),
                          "--address-book", str(self.people), *options])
        return folder

    def test_keys_match_published_vectors(self):
        # RFC 6070, the vector with 25 bytes; more bytes do not change the first ones.
        self.assertEqual(
            make_backup.password_key("passwordPASSWORDpassword",
                                     b"saltSALTsaltSALTsaltSALTsaltSALTsalt", 4096)[:25].hex(),
            "3d2eec4fe41c849b80c8d83662c0e44a8b291a964cf2f07038")
        # RFC 7914, section 11.
        self.assertEqual(derived("SHA256", b"passwd", b"salt", 1).hex(),
                         "55ac046e56e3089fec1691c22544b605f94185216dde0465e68b9d57c20dacbc")
        # RFC 3394, section 4.6.
        key, data = bytes(range(32)), bytes.fromhex("00112233445566778899aabbccddeeff"
                                                    "000102030405060708090a0b0c0d0e0f")
        wrapped = bytes.fromhex("28c9f404c4b810f4cbccb35cfb87f8263f5786e2d80ed326"
                                "cbc7f0e71a99f43bfb988b9b7a02dd21")
        self.assertEqual(make_backup.aes_key_wrap(key, data), wrapped)
        self.assertEqual(unwrapped(wrapped, key), data)

    def test_names_of_files_are_the_published_ones(self):
        self.assertEqual(make_backup.file_id("HomeDomain", make_backup.MESSAGES), MESSAGES_ID)
        self.assertEqual(make_backup.file_id("HomeDomain", make_backup.ADDRESS_BOOK),
                         ADDRESS_BOOK_ID)

    def test_encrypted_files_have_keys_of_their_own_classes(self):
        opened = Opened(self.make("--password", "Käse 🔑"), "Käse 🔑")
        log_id = make_backup.file_id("HomeDomain", make_backup.MESSAGES + "-wal")
        self.assertEqual(opened.content(MESSAGES_ID), self.database.read_bytes())
        self.assertEqual(opened.content(log_id), self.log.read_bytes())
        self.assertTrue(opened.content(ADDRESS_BOOK_ID).startswith(b"SQLite format 3"))
        used = {opened.described(name)[1]["ProtectionClass"]
                for name in (MESSAGES_ID, log_id, ADDRESS_BOOK_ID)}
        self.assertEqual(len(used), 3)

    def test_old_backups_derive_the_key_in_one_step(self):
        opened = Opened(self.make("--password", "", "--no-dpsl"), "")
        self.assertNotIn("DPSL", opened.head)
        self.assertEqual(opened.content(MESSAGES_ID), self.database.read_bytes())

    def test_some_classes_need_the_device(self):
        opened = Opened(self.make("--password", "geheim"), "geheim")
        by_device = [part for part in opened.classes.values() if not number(part["WRAP"]) & 2]
        self.assertEqual(len(by_device), 3)
        for part in by_device:
            with self.assertRaises(ValueError):
                unwrapped(part["WPKY"], opened.password_key)

    def test_padding_is_as_asked(self):
        index = self.home / "index.db"
        for padding, files, more_index in ("files", 15, 0), ("all", 15, 16), ("none", 0, 0):
            opened = Opened(self.make("--password", "", "--padding", padding, name=padding), "")
            plain = decrypted(opened.path(MESSAGES_ID), opened.file_key(MESSAGES_ID))
            self.assertEqual(plain, self.database.read_bytes() + bytes([files]) * 15)
            self.assertEqual(index.stat().st_size % 4096, more_index)

    def test_another_password_opens_nothing(self):
        folder = self.make("--password", "geheim")
        with self.assertRaises(ValueError):
            Opened(folder, "geheimnis")

    def test_plain_files_are_copies_in_both_layouts(self):
        flat = self.make("--layout", "flat", name="flat")
        nested = self.make(name="nested")
        for path in flat / MESSAGES_ID, nested / MESSAGES_ID[:2] / MESSAGES_ID:
            self.assertEqual(path.read_bytes(), self.database.read_bytes())
        self.assertFalse(plistlib.loads((flat / "Manifest.plist").read_bytes())["IsEncrypted"])
        self.assertTrue((flat / "Manifest.db").read_bytes().startswith(b"SQLite format 3"))

    def test_other_files_are_listed_but_unreadable(self):
        opened = Opened(self.make("--password", "geheim"), "geheim")
        for domain, path in make_backup.DECOYS:
            name = hashlib.sha1(f"{domain}-{path}".encode()).hexdigest()
            self.assertEqual(opened.row(name)[:2], (domain, path))
            self.assertEqual((opened.folder / name[:2] / name).stat().st_mode & 0o777, 0)

    def test_address_book_has_people(self):
        folder = self.make()
        with contextlib.closing(sqlite3.connect(
                folder / ADDRESS_BOOK_ID[:2] / ADDRESS_BOOK_ID)) as book:
            self.assertEqual(
                book.execute("SELECT First, Last, property, value FROM ABPerson "
                             "JOIN ABMultiValue ON record_id = ROWID ORDER BY property").fetchall(),
                [("Zoë", "Okafor", 3, "+12015550117"), ("Zoë", "Okafor", 4, "zoe@example.com")])

    def test_device_date_and_state_are_as_asked(self):
        folder = self.make("--unfinished", "--device-name", "Büro", "--date",
                           "2024-02-29T12:00:00+02:00")
        info = plistlib.loads((folder / "Info.plist").read_bytes())
        self.assertEqual((info["Device Name"], str(info["Last Backup Date"])),
                         ("Büro", "2024-02-29 10:00:00"))
        status = plistlib.loads((folder / "Status.plist").read_bytes())
        self.assertNotEqual(status["SnapshotState"], "finished")

    def test_each_damage_hides_the_messages(self):
        harmless = {"no-info", "no-status", "broken-status"}
        endless = {"endless-rounds"}
        for damage in set(make_backup.DAMAGES) - harmless - endless:
            with self.subTest(damage):
                folder = self.make("--password", "geheim", "--damage", damage, name=damage)
                self.assertNotEqual(self.messages_in(folder), self.database.read_bytes())

    @staticmethod
    def messages_in(folder):
        try:
            return Opened(folder, "geheim").content(MESSAGES_ID)
        except (AttributeError, IndexError, KeyError, OSError, TypeError, ValueError,
                plistlib.InvalidFileException, sqlite3.Error, struct.error,
                subprocess.CalledProcessError) as fault:
            return fault

    def test_other_damage_is_where_it_should_be(self):
        self.assertFalse((self.make("--damage", "no-info", name="1") / "Info.plist").exists())
        self.assertFalse((self.make("--damage", "no-status", name="2") / "Status.plist").exists())
        self.assertEqual((self.make("--damage", "broken-status", name="3") / "Status.plist")
                         .read_bytes(), b"garbage")
        endless = self.make("--password", "", "--damage", "endless-rounds", name="4")
        bag = plistlib.loads((endless / "Manifest.plist").read_bytes())["BackupKeyBag"]
        self.assertEqual({number(Opened.parsed(bag)[0][tag]) for tag in ("ITER", "DPIC")},
                         {0xFFFFFFFF})

    def test_damage_of_keys_needs_a_password(self):
        with contextlib.redirect_stderr(io.StringIO()), self.assertRaises(SystemExit):
            self.make("--damage", "missing-class")


if __name__ == "__main__":
    unittest.main()
