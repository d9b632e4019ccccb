# SPDX-License-Identifier: MIT
"""The server ends the link cleanly: the console host brings it back by itself
and holds every message sent meanwhile, exactly once. Real delays: no time scale."""

import collections
import json
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time

import pytest

from consolehost import SOURCE_DIR, Admin, ConsoleHost, Server

BACK_WITHIN = 15


def link_event(state):
    return lambda e: e.get("event") == "link" and e.get("state") == state


def texts_from(host, peer, sender):
    rows = host.ok("show %s" % peer)["messages"]
    return [r["text"] for r in rows if r.get("from") == sender and r.get("type") == "BBC"]


def holds_exactly(host, peer, sender, expected, timeout=30):
    deadline = time.monotonic() + timeout
    while len(texts_from(host, peer, sender)) < len(expected) and time.monotonic() < deadline:
        time.sleep(0.3)
    time.sleep(1)  # room for a late duplicate
    received = texts_from(host, peer, sender)
    assert sorted(received) == sorted(expected), collections.Counter(received).most_common(3)


def pair(admin, start):
    a, b = admin.create_account("ra"), admin.create_account("rb")
    admin.post("friends", {"a": a["username"], "b": b["username"]})
    hosts = []
    for account in (a, b):
        host = start(account["username"])
        host.ok("login password %s %s" % (account["username"], account["password"]))
        host.wait_for(link_event("connected"))
        hosts.append(host)
    return a, b, hosts[0], hosts[1]


@pytest.mark.parametrize("code", [1001, 1007])
def test_clean_close_comes_back(admin, hosts, code):
    a, b, host_a, host_b = pair(admin, hosts)
    mark = len(host_b.events)
    admin.post("close", {"username": b["username"], "mode": "clean", "code": code})
    host_b.wait_for(link_event("disconnected"), after=mark)
    expected = ["c%d-%d" % (code, i) for i in range(5)]
    for text in expected:
        host_a.ok("send text %s %s" % (b["username"], text))

    host_b.wait_for(link_event("connected"), after=mark, timeout=BACK_WITHIN)
    # The close was clean: no socket error, so the module alone would have stayed down.
    assert not [e for e in host_b.events[mark:] if e.get("event") == "link" and e.get("state") == "error"]
    holds_exactly(host_b, a["username"], a["username"], expected)


class OwnServer:
    """A reference server of this test's own, which it stops and starts again on the same ports."""

    def __init__(self):
        self.folder = tempfile.mkdtemp(prefix="kvmess-e2e-restart-")
        self.script = os.path.join(os.environ.get("KVMESS_SERVER_DIR", os.path.join(SOURCE_DIR, "server")),
                                   "fixture.sh")
        subprocess.run(["bash", self.script, "start", self.folder], check=True)
        self.server = Server(self.folder)
        with open(os.path.join(self.folder, "ready.json"), encoding="utf-8") as f:
            self.ready = json.load(f)
        self.process = None

    def terminate(self):
        subprocess.run(["bash", self.script, "stop", self.folder], check=True)

    def start_again(self):
        os.remove(os.path.join(self.folder, "ready.json"))
        account_port = self.ready["account_url"].rstrip("/").rsplit(":", 1)[1]
        message_port = self.ready["message_host"].rsplit(":", 1)[1]
        run_server = os.path.join(os.path.dirname(self.script), "run_server.py")
        with open(os.path.join(self.folder, "server.log"), "a") as log:
            self.process = subprocess.Popen(
                [sys.executable, run_server, "--data", os.path.join(self.folder, "data"),
                 "--ready-file", os.path.join(self.folder, "ready.json"), "--account-port", account_port,
                 "--message-port", message_port, "--file-host", self.ready["file_host"]],
                stdin=subprocess.DEVNULL, stdout=log, stderr=log)
        deadline = time.monotonic() + 10
        while not os.path.exists(os.path.join(self.folder, "ready.json")):
            assert self.process.poll() is None and time.monotonic() < deadline, "the server did not come back"
            time.sleep(0.05)

    def close(self):
        if self.process:
            self.process.send_signal(signal.SIGTERM)
            self.process.wait(10)
        else:
            self.terminate()
        shutil.rmtree(self.folder, ignore_errors=True)


def test_server_restart_comes_back(console, tmp_path):
    own = OwnServer()
    try:
        started = []

        def start(name):
            host = ConsoleHost(console, str(tmp_path / name), own.server.host_env(), name=name)
            started.append(host)
            return host

        admin = own.server.admin
        a, b, host_a, host_b = pair(admin, start)
        mark_a, mark_b = len(host_a.events), len(host_b.events)

        own.terminate()
        host_b.wait_for(link_event("disconnected"), after=mark_b)
        time.sleep(1.5)  # a try or two while nobody listens
        own.start_again()
        admin = Admin(own.ready["admin_url"])
        # Queued for b while its link is still down.
        pushed = ["p%d" % i for i in range(5)]
        for text in pushed:
            admin.post("push", {"to": b["username"], "type": "BBC", "from": a["username"],
                                "data": {"content": text}})
        host_a.wait_for(link_event("connected"), after=mark_a, timeout=BACK_WITHIN)
        sent = ["s%d" % i for i in range(5)]
        for text in sent:
            host_a.ok("send text %s %s" % (b["username"], text))

        host_b.wait_for(link_event("connected"), after=mark_b, timeout=BACK_WITHIN)
        holds_exactly(host_b, a["username"], a["username"], pushed + sent)
    finally:
        for host in started:
            host.close()
        own.close()
