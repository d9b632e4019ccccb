# SPDX-License-Identifier: MIT
"""Drives kvmess-console processes and the reference server's admin API.

Shared by the end-to-end tests and by the main job's scripted conversation.
Each ConsoleHost is one process with a profile folder of its own, so several
run side by side as different users. Commands go in on standard input; every
line the host writes is a JSON object and is kept, in order, in `events`.
"""

import hashlib
import json
import os
import random
import subprocess
import threading
import time
import urllib.error
import urllib.request
import zlib

HERE = os.path.dirname(os.path.abspath(__file__))
SOURCE_DIR = os.path.dirname(os.path.dirname(HERE))


def read_env_file(path):
    values = {}
    with open(path, encoding="utf-8") as f:
        for line in f:
            key, sep, value = line.strip().partition("=")
            if sep:
                values[key] = value
    return values


def md5_of(path):
    digest = hashlib.md5()
    with open(path, "rb") as f:
        for chunk in iter(lambda: f.read(1 << 20), b""):
            digest.update(chunk)
    return digest.hexdigest()


def png(width, height, rgb=(0x3b, 0x7d, 0xd8)):
    """A plain PNG of one colour."""
    def chunk(kind, data):
        return (len(data).to_bytes(4, "big") + kind + data
                + zlib.crc32(kind + data).to_bytes(4, "big"))
    header = width.to_bytes(4, "big") + height.to_bytes(4, "big") + bytes([8, 2, 0, 0, 0])
    rows = b"".join(b"\x00" + bytes(rgb) * width for _ in range(height))
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows))
            + chunk(b"IEND", b""))


class Admin:
    """The reference server's admin API: plain JSON on the account port."""

    def __init__(self, url):
        self.url = url if url.endswith("/") else url + "/"

    def call(self, method, path, body=None):
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(self.url + path, data=data, method=method,
                                         headers={"Content-Type": "application/json"})
        try:
            with urllib.request.urlopen(request, timeout=30) as reply:
                return json.loads(reply.read().decode() or "null")
        except urllib.error.HTTPError as error:
            raise AssertionError("admin %s %s: %s %s" % (method, path, error.code, error.read().decode()))

    def get(self, path):
        return self.call("GET", path)

    def post(self, path, body=None):
        return self.call("POST", path, body or {})

    def create_account(self, prefix, password="pw123456", kind=None, username=None):
        """A fresh account with a unique name and phone; returns its fields."""
        name = username or "%s%06x" % (prefix, random.getrandbits(24))
        account = {"username": name, "password": password,
                   "phone": "137%08d" % random.randrange(10 ** 8), "nickname": prefix}
        if kind:
            account["kind"] = kind
        self.post("accounts", account)
        return account


class Server:
    """Addresses of a running reference server, from the env file of its fixture."""

    def __init__(self, fixture_dir):
        self.fixture_dir = fixture_dir
        self.env = read_env_file(os.path.join(fixture_dir, "env"))
        self.admin = Admin(self.env["KVMESS_ADMIN_URL"])

    def host_env(self):
        return {key: value for key, value in self.env.items() if key != "KVMESS_ADMIN_URL"}


def console_env(profile, extra=None):
    env = dict(os.environ)
    env.update({"QT_QPA_PLATFORM": "offscreen", "HOME": profile,
                "XDG_CONFIG_HOME": os.path.join(profile, "xdg")})
    env.pop("QT_LOGGING_RULES", None)
    env.update(extra or {})
    return env


class ConsoleError(AssertionError):
    pass


class ConsoleHost:
    """One kvmess-console process in listen mode, driven through standard input."""

    def __init__(self, console, profile, env, options=(), name=None, start_timeout=30):
        os.makedirs(profile, exist_ok=True)
        self.name = name or os.path.basename(profile)
        self.profile = profile
        self.events = []
        self.stderr = []
        self._changed = threading.Condition()
        self.process = subprocess.Popen(
            [console, "--profile", profile, "--listen", *options],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
            env=console_env(profile, env), encoding="utf-8", bufsize=1)
        self._threads = [threading.Thread(target=self._read_stdout, daemon=True),
                         threading.Thread(target=self._read_stderr, daemon=True)]
        for thread in self._threads:
            thread.start()
        self.start = self.wait_for(lambda e: e.get("event") == "start", start_timeout)

    def _read_stdout(self):
        for line in self.process.stdout:
            line = line.strip()
            if not line:
                continue
            try:
                event = json.loads(line)
            except ValueError:
                event = {"event": "garbage", "line": line}
            with self._changed:
                self.events.append(event)
                self._changed.notify_all()
        with self._changed:
            self._changed.notify_all()

    def _read_stderr(self):
        for line in self.process.stderr:
            with self._changed:
                self.stderr.append(line.rstrip("\n"))

    def wait_for(self, predicate, timeout=30, after=0):
        """The first event from index `after` on that satisfies `predicate`."""
        deadline = time.monotonic() + timeout
        with self._changed:
            while True:
                for event in self.events[after:]:
                    if predicate(event):
                        return event
                left = deadline - time.monotonic()
                if left <= 0 or (self.process.poll() is not None and not self._threads[0].is_alive()):
                    raise ConsoleError("%s: no such event within %ss; stderr:\n%s\nlast events:\n%s" % (
                        self.name, timeout, "\n".join(self.stderr[-20:]),
                        "\n".join(json.dumps(e, ensure_ascii=False) for e in self.events[-10:])))
                self._changed.wait(min(left, 0.5))

    def command(self, line, timeout=90):
        """Runs one command and returns its result object, successful or not."""
        with self._changed:
            mark = len(self.events)
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()
        return self.wait_for(lambda e: e.get("event") == "result", timeout, after=mark)

    def ok(self, line, timeout=90):
        result = self.command(line, timeout)
        if not result.get("ok"):
            raise ConsoleError("%s: %r failed: %s" % (self.name, line, result))
        return result

    def messages(self, predicate=lambda e: True):
        with self._changed:
            return [e for e in self.events if e.get("event") == "message" and predicate(e)]

    def close(self, timeout=20):
        if self.process.poll() is None:
            try:
                self.process.stdin.write("quit\n")
                self.process.stdin.flush()
                self.process.stdin.close()
            except (BrokenPipeError, OSError):
                pass
            try:
                self.process.wait(timeout)
            except subprocess.TimeoutExpired:
                self.process.terminate()
                try:
                    self.process.wait(5)
                except subprocess.TimeoutExpired:
                    self.process.kill()
                    self.process.wait()
        for thread in self._threads:
            thread.join(5)
        return self.process.returncode

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()


def run_console(console, profile, env, args, timeout=120, stdin=None):
    """One run with the commands on the command line; returns (exit code, events, stderr)."""
    os.makedirs(profile, exist_ok=True)
    done = subprocess.run([console, "--profile", profile, *args], input=stdin,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          env=console_env(profile, env), encoding="utf-8", timeout=timeout)
    events = [json.loads(line) for line in done.stdout.splitlines() if line.strip().startswith("{")]
    return done.returncode, events, done.stderr
