# SPDX-License-Identifier: MIT
"""SQLite state of the server: accounts, tokens, friendships, enterprises,
messages with their delivery state, files, faces, SMS codes and scan scenes."""
import json
import secrets
import sqlite3
import time

SCHEMA = """
CREATE TABLE IF NOT EXISTS accounts (
    username TEXT PRIMARY KEY,
    password TEXT NOT NULL DEFAULT '',
    phone TEXT UNIQUE,
    nickname TEXT NOT NULL DEFAULT '',
    sex INTEGER NOT NULL DEFAULT 0,
    hometown TEXT NOT NULL DEFAULT '',
    location TEXT NOT NULL DEFAULT '',
    signature TEXT NOT NULL DEFAULT '',
    face TEXT NOT NULL DEFAULT '',
    kind TEXT NOT NULL DEFAULT 'user',
    member INTEGER NOT NULL DEFAULT 0,
    member_time TEXT NOT NULL DEFAULT '',
    mail_password TEXT NOT NULL DEFAULT '',
    unionid TEXT NOT NULL DEFAULT '',
    created REAL NOT NULL
);
CREATE TABLE IF NOT EXISTS tokens (
    token TEXT PRIMARY KEY,
    username TEXT NOT NULL,
    session_id TEXT NOT NULL,
    created REAL NOT NULL
);
CREATE TABLE IF NOT EXISTS friendships (
    a TEXT NOT NULL, b TEXT NOT NULL, created REAL NOT NULL,
    PRIMARY KEY (a, b)
);
CREATE TABLE IF NOT EXISTS friend_requests (
    from_user TEXT NOT NULL, to_user TEXT NOT NULL, created REAL NOT NULL,
    PRIMARY KEY (from_user, to_user)
);
CREATE TABLE IF NOT EXISTS enterprises (
    id TEXT PRIMARY KEY, title TEXT NOT NULL, face TEXT NOT NULL DEFAULT ''
);
CREATE TABLE IF NOT EXISTS members (
    enterprise_id TEXT NOT NULL, username TEXT NOT NULL, position INTEGER NOT NULL,
    PRIMARY KEY (enterprise_id, username)
);
CREATE TABLE IF NOT EXISTS messages (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    type TEXT NOT NULL,
    from_user TEXT NOT NULL,
    to_json TEXT NOT NULL,
    grp INTEGER NOT NULL,
    data_json TEXT NOT NULL,
    platform TEXT NOT NULL,
    sid TEXT NOT NULL,
    create_time INTEGER NOT NULL
);
CREATE TABLE IF NOT EXISTS deliveries (
    message_id INTEGER NOT NULL,
    username TEXT NOT NULL,
    acked INTEGER NOT NULL DEFAULT 0,
    acked_time INTEGER,
    PRIMARY KEY (message_id, username)
);
CREATE INDEX IF NOT EXISTS deliveries_user ON deliveries (username, acked, message_id);
CREATE TABLE IF NOT EXISTS files (
    id TEXT PRIMARY KEY,
    md5 TEXT NOT NULL UNIQUE,
    title TEXT NOT NULL,
    extension TEXT NOT NULL DEFAULT '',
    size INTEGER NOT NULL,
    key TEXT NOT NULL UNIQUE,
    path TEXT NOT NULL,
    uploader TEXT NOT NULL DEFAULT '',
    created REAL NOT NULL
);
CREATE TABLE IF NOT EXISTS faces (
    key TEXT PRIMARY KEY, content_type TEXT NOT NULL, bytes BLOB NOT NULL
);
CREATE TABLE IF NOT EXISTS sms_codes (
    phone TEXT PRIMARY KEY, code TEXT NOT NULL, created REAL NOT NULL
);
CREATE TABLE IF NOT EXISTS scenes (
    scene TEXT PRIMARY KEY, username TEXT NOT NULL, created REAL NOT NULL
);
"""

# Everything but the message id sequence: ids keep growing over a reset, so
# a client's stored catch-up mark never covers a message it has not seen.
RESET_TABLES = ("accounts", "tokens", "friendships", "friend_requests", "enterprises",
                "members", "messages", "deliveries", "files", "faces", "sms_codes", "scenes")

PROFILE_KEYS = ("username", "phone", "nickname", "sex", "hometown", "location", "signature")


class Store:
    def __init__(self, path):
        self.db = sqlite3.connect(path, isolation_level=None)
        self.db.row_factory = sqlite3.Row
        self.db.execute("PRAGMA journal_mode=WAL")
        self.db.execute("PRAGMA synchronous=NORMAL")
        self.db.executescript(SCHEMA)

    def close(self):
        self.db.close()

    def _one(self, sql, *args):
        row = self.db.execute(sql, args).fetchone()
        return dict(row) if row is not None else None

    def _all(self, sql, *args):
        return [dict(r) for r in self.db.execute(sql, args).fetchall()]

    def is_empty(self):
        return self._one("SELECT COUNT(*) AS n FROM accounts")["n"] == 0

    def wipe(self):
        self.db.execute("BEGIN")
        for table in RESET_TABLES:
            self.db.execute("DELETE FROM " + table)
        self.db.execute("COMMIT")

    # accounts -----------------------------------------------------------
    def create_account(self, username, password="", phone=None, nickname="", sex=0,
                       hometown="", location="", signature="", face="", kind="user",
                       member=0, member_time="", mail_password="", unionid=""):
        self.db.execute(
            "INSERT INTO accounts (username, password, phone, nickname, sex, hometown, location,"
            " signature, face, kind, member, member_time, mail_password, unionid, created)"
            " VALUES (?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)",
            (username, password, phone or None, nickname, int(sex), hometown, location,
             signature, face, kind, int(member), str(member_time), mail_password, unionid,
             time.time()))
        return self.account(username)

    def account(self, username):
        return self._one("SELECT * FROM accounts WHERE username = ?", username)

    def account_by_phone(self, phone):
        return self._one("SELECT * FROM accounts WHERE phone = ?", phone)

    def accounts(self, kind=None):
        if kind:
            return self._all("SELECT * FROM accounts WHERE kind = ? ORDER BY created, username", kind)
        return self._all("SELECT * FROM accounts ORDER BY created, username")

    def update_account(self, username, **fields):
        if not fields:
            return
        cols = ", ".join(k + " = ?" for k in fields)
        self.db.execute("UPDATE accounts SET " + cols + " WHERE username = ?",
                        (*fields.values(), username))

    # tokens -------------------------------------------------------------
    def issue_token(self, username):
        token = secrets.token_hex(24)
        session_id = secrets.token_hex(12)
        self.db.execute("INSERT INTO tokens (token, username, session_id, created) VALUES (?,?,?,?)",
                        (token, username, session_id, time.time()))
        return token, session_id

    def token_user(self, token):
        if not token:
            return None
        row = self._one("SELECT username FROM tokens WHERE token = ?", token)
        return row["username"] if row else None

    # friends ------------------------------------------------------------
    def add_friendship(self, a, b):
        now = time.time()
        self.db.execute("INSERT OR IGNORE INTO friendships VALUES (?,?,?)", (a, b, now))
        self.db.execute("INSERT OR IGNORE INTO friendships VALUES (?,?,?)", (b, a, now))

    def remove_friendship(self, a, b):
        cur = self.db.execute("DELETE FROM friendships WHERE (a = ? AND b = ?) OR (a = ? AND b = ?)",
                              (a, b, b, a))
        return cur.rowcount > 0

    def are_friends(self, a, b):
        return self._one("SELECT 1 AS x FROM friendships WHERE a = ? AND b = ?", a, b) is not None

    def friends_of(self, username):
        return self._all("SELECT accounts.* FROM friendships JOIN accounts ON accounts.username = b"
                         " WHERE a = ? ORDER BY friendships.created, b", username)

    def add_request(self, from_user, to_user):
        self.db.execute("INSERT OR REPLACE INTO friend_requests VALUES (?,?,?)",
                        (from_user, to_user, time.time()))

    def take_request(self, from_user, to_user):
        cur = self.db.execute("DELETE FROM friend_requests WHERE from_user = ? AND to_user = ?",
                              (from_user, to_user))
        return cur.rowcount > 0

    def requests(self):
        return self._all("SELECT * FROM friend_requests ORDER BY created")

    # enterprises --------------------------------------------------------
    def create_enterprise(self, ent_id, title, members=(), face=""):
        self.db.execute("INSERT OR REPLACE INTO enterprises VALUES (?,?,?)", (ent_id, title, face))
        self.db.execute("DELETE FROM members WHERE enterprise_id = ?", (ent_id,))
        for pos, name in enumerate(members):
            self.db.execute("INSERT OR IGNORE INTO members VALUES (?,?,?)", (ent_id, name, pos))

    def enterprise(self, ent_id):
        return self._one("SELECT * FROM enterprises WHERE id = ?", ent_id)

    def enterprises(self):
        return self._all("SELECT * FROM enterprises ORDER BY id")

    def enterprises_of(self, username):
        return self._all("SELECT enterprises.* FROM members JOIN enterprises ON id = enterprise_id"
                         " WHERE username = ? ORDER BY id", username)

    def members(self, ent_id):
        return self._all("SELECT accounts.* FROM members JOIN accounts USING (username)"
                         " WHERE enterprise_id = ? ORDER BY position", ent_id)

    # messages -----------------------------------------------------------
    def add_message(self, mtype, from_user, to, group, data, platform, sid, addressees):
        now = int(time.time())
        self.db.execute("BEGIN")
        cur = self.db.execute(
            "INSERT INTO messages (type, from_user, to_json, grp, data_json, platform, sid, create_time)"
            " VALUES (?,?,?,?,?,?,?,?)",
            (mtype, from_user, json.dumps(list(to), ensure_ascii=False), 1 if group else 0,
             json.dumps(data, ensure_ascii=False), platform, sid or "", now))
        mid = cur.lastrowid
        for name in dict.fromkeys(addressees):
            self.db.execute("INSERT INTO deliveries (message_id, username) VALUES (?,?)", (mid, name))
        self.db.execute("COMMIT")
        return self.message(mid)

    def message(self, mid):
        return self._one("SELECT * FROM messages WHERE id = ?", mid)

    def acknowledge(self, username, ids):
        now = int(time.time())
        n = 0
        for mid in ids:
            cur = self.db.execute("UPDATE deliveries SET acked = 1, acked_time = ?"
                                  " WHERE username = ? AND message_id = ? AND acked = 0",
                                  (now, username, mid))
            n += cur.rowcount
        return n

    def queued(self, username):
        return self._all("SELECT messages.* FROM deliveries JOIN messages ON id = message_id"
                         " WHERE username = ? AND acked = 0 ORDER BY id", username)

    def messages(self, user=None, after=None):
        sql = "SELECT * FROM messages"
        cond, args = [], []
        if after is not None:
            cond.append("id > ?")
            args.append(after)
        if user:
            cond.append("(from_user = ? OR id IN (SELECT message_id FROM deliveries WHERE username = ?))")
            args += [user, user]
        if cond:
            sql += " WHERE " + " AND ".join(cond)
        rows = self._all(sql + " ORDER BY id", *args)
        for row in rows:
            row["deliveries"] = self._all("SELECT username, acked, acked_time FROM deliveries"
                                          " WHERE message_id = ? ORDER BY username", row["id"])
        return rows

    # faces --------------------------------------------------------------
    def put_face(self, data, content_type="image/png"):
        key = secrets.token_urlsafe(18)
        self.db.execute("INSERT INTO faces VALUES (?,?,?)", (key, content_type, data))
        return key

    def face(self, key):
        return self._one("SELECT * FROM faces WHERE key = ?", key)

    # files --------------------------------------------------------------
    def add_file(self, file_id, md5, title, extension, size, key, path, uploader):
        self.db.execute("INSERT INTO files VALUES (?,?,?,?,?,?,?,?,?)",
                        (file_id, md5, title, extension, size, key, path, uploader, time.time()))
        return self.file_by_md5(md5)

    def file_by_md5(self, md5):
        return self._one("SELECT * FROM files WHERE md5 = ?", md5)

    def file_by_key(self, key):
        return self._one("SELECT * FROM files WHERE key = ?", key)

    def files(self):
        return self._all("SELECT * FROM files ORDER BY created")

    # sign-in helpers ----------------------------------------------------
    def set_sms_code(self, phone, code):
        self.db.execute("INSERT OR REPLACE INTO sms_codes VALUES (?,?,?)", (phone, code, time.time()))

    def sms_code(self, phone):
        return self._one("SELECT * FROM sms_codes WHERE phone = ?", phone)

    def drop_sms_code(self, phone):
        self.db.execute("DELETE FROM sms_codes WHERE phone = ?", (phone,))

    def create_scene(self, username, scene):
        self.db.execute("INSERT OR REPLACE INTO scenes VALUES (?,?,?)", (scene, username, time.time()))

    def take_scene(self, scene):
        row = self._one("SELECT * FROM scenes WHERE scene = ?", scene)
        if row:
            self.db.execute("DELETE FROM scenes WHERE scene = ?", (scene,))
            return row["username"]
        return None
