# SPDX-License-Identifier: MIT
"""The link broken under a conversation: every message is held exactly once."""

import collections
import time

# The receiver's link timers run ten times faster, so that its reconnect comes
# after 3 s instead of 30 s.
FAST = ("--time-scale", "0.1")


def texts_of(rows, sender):
    return [r["text"] for r in rows if r.get("from") == sender and r.get("type") == "BBC"]


def test_server_abort_while_sending(admin, signed_in):
    a, b = admin.create_account("aa"), admin.create_account("ab")
    admin.post("friends", {"a": a["username"], "b": b["username"]})
    host_a, host_b = signed_in(a, *FAST), signed_in(b)
    host_a.wait_for(lambda e: e.get("event") == "link" and e.get("state") == "connected")
    mark = len(host_a.events)

    expected = ["b%02d" % i for i in range(40)]
    for i, text in enumerate(expected):
        host_b.ok("send text %s %s" % (a["username"], text))
        if i == 14:
            admin.post("close", {"username": a["username"], "mode": "abort"})
            # The receiver writes too while its link is gone.
            own = [host_a.command("send text %s a%d" % (b["username"], n)) for n in range(3)]

    error = host_a.wait_for(lambda e: e.get("event") == "link" and e.get("state") == "error", after=mark)
    assert error["text"] == "RemoteHostClosedError"
    host_a.wait_for(lambda e: e.get("event") == "link" and e.get("state") == "connected",
                    after=host_a.events.index(error), timeout=60)

    deadline = time.monotonic() + 60
    while True:
        rows = host_a.ok("show %s" % b["username"])["messages"]
        if len(texts_of(rows, b["username"])) >= len(expected) or time.monotonic() > deadline:
            break
        time.sleep(0.3)
    time.sleep(1)  # room for a late duplicate
    rows = host_a.ok("show %s" % b["username"])["messages"]
    received = texts_of(rows, b["username"])
    assert sorted(received) == expected, collections.Counter(received).most_common(3)
    server_ids = [r["serverId"] for r in rows]
    assert len(server_ids) == len(set(server_ids))

    # What the receiver sent has one row each, acknowledged or failed; the
    # peer holds each acknowledged one once, and a failed one at most once.
    statuses = {r["text"]: r["status"] for r in rows if r["isSend"]}
    assert sorted(statuses) == ["a0", "a1", "a2"]
    assert set(statuses.values()) <= {6, 7}
    assert all(o["ok"] == (o["message"]["status"] == 6) for o in own)
    peer_rows = host_b.ok("show %s" % a["username"])["messages"]
    counts = collections.Counter(texts_of(peer_rows, a["username"]))
    for text, status in statuses.items():
        assert counts[text] == 1 if status == 6 else counts[text] <= 1, (text, status, counts)

    # Every delivery was acknowledged in the end.
    deadline = time.monotonic() + 20
    while admin.get("queue?username=%s" % a["username"]) and time.monotonic() < deadline:
        time.sleep(0.3)
    assert admin.get("queue?username=%s" % a["username"]) == []
