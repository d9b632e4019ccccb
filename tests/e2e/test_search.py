# SPDX-License-Identifier: MIT
"""The local search of a console host after a real exchange."""

import time


def search(host, text, until, timeout=30):
    deadline = time.monotonic() + timeout
    while True:
        found = host.ok("search %s" % text)
        if until(found) or time.monotonic() > deadline:
            return found
        time.sleep(0.2)


def test_search_finds_the_peer_and_the_literal_text(admin, signed_in):
    a, b = admin.create_account("seeka"), admin.create_account("seekb")
    admin.post("friends", {"a": a["username"], "b": b["username"]})
    host_a, host_b = signed_in(a), signed_in(b)

    host_a.ok("send text %s 100%% of the <b>survey</b>" % b["username"])
    host_a.ok("send text %s 1000 of the survey" % b["username"])

    found = search(host_b, "100%", lambda f: f["messages"])
    assert [(m["with"], m["sender"], m["text"]) for m in found["messages"]] == [
        (a["username"], "seeka", "100% of the <b>survey</b>")]
    assert found["conversations"] == []

    found = search(host_b, "SEEKA", lambda f: f["conversations"])
    assert [(c["with"], c["title"], c["group"]) for c in found["conversations"]] == [(a["username"], "seeka", False)]

    # The sender finds its own messages too (sent in the same second: no order between them).
    sent = host_a.ok("search survey")["messages"]
    assert sorted(m["text"] for m in sent) == ["100% of the <b>survey</b>", "1000 of the survey"]
    nothing = host_a.ok("search nothing-of-the-kind")
    assert (nothing["conversations"], nothing["messages"]) == ([], [])
