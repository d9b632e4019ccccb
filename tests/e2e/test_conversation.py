# SPDX-License-Identifier: MIT
"""Whole conversations between console hosts, each a process of its own."""

import os
import time

import pytest

from consolehost import md5_of, png


def friends_of(host):
    return {f["username"] for f in host.ok("friends")["friends"]}


def conversation(host, with_, group=False):
    return host.ok("show %s%s" % ("--group " if group else "", with_))["messages"]


def text_from(sender, text):
    return lambda e: e.get("event") == "message" and e.get("from") == sender and e.get("text") == text


def wait_for_rows(host, with_, count, group=False, timeout=30):
    deadline = time.monotonic() + timeout
    while True:
        rows = conversation(host, with_, group)
        if len(rows) >= count or time.monotonic() > deadline:
            return rows
        time.sleep(0.2)


def test_sign_in_by_code_and_by_scan(admin, hosts):
    user = admin.create_account("sg")
    host = hosts("sign-in")
    assert (host.start["by"], host.start["visitor"]) == ("visitor", True)

    host.ok("code %s" % user["phone"])
    code = admin.get("sms?phone=%s" % user["phone"])["code"]
    assert host.command("login sms %s 000000" % user["phone"])["code"] == 1
    session = host.ok("login sms %s %s" % (user["phone"], code))
    assert (session["user"], session["login"], session["connected"]) == (user["username"], True, True)
    # A code is good once.
    assert host.command("login sms %s %s" % (user["phone"], code))["ok"] is False

    host.ok("logout")
    scene = admin.post("scan", {"username": user["username"]})["scene"]
    assert host.ok("login scan %s" % scene)["user"] == user["username"]


def test_text_both_ways(admin, signed_in):
    a, b = admin.create_account("ta"), admin.create_account("tb")
    admin.post("friends", {"a": a["username"], "b": b["username"]})
    host_a, host_b = signed_in(a), signed_in(b)

    sent = host_a.ok("send text %s 你好 from a" % b["username"])["message"]
    assert sent["status"] == 6 and sent["serverId"]
    host_b.wait_for(text_from(a["username"], "你好 from a"))
    listed = host_b.ok("conversations")["conversations"]
    assert [(c["with"], c["title"], c["unread"]) for c in listed] == [(a["username"], "ta", 1)]
    assert host_b.ok("whoami")["unread"] == 1
    host_b.ok("send text %s and back from b" % a["username"])
    host_a.wait_for(text_from(b["username"], "and back from b"))

    for host, peer in ((host_a, b), (host_b, a)):
        rows = wait_for_rows(host, peer["username"], 2)
        mine = "你好 from a" if host is host_a else "and back from b"
        assert sorted((r["text"], r["isSend"]) for r in rows) == sorted(
            [("你好 from a", host is host_a), ("and back from b", host is host_b)])
        assert [r["status"] for r in rows if r["isSend"]] == [6]
        assert [r["text"] for r in rows if r["isSend"]] == [mine]
        assert len({r["serverId"] for r in rows}) == 2
        assert host.ok("conversations")["conversations"][0]["unread"] == 0


def test_friend_request_agreed(admin, signed_in):
    a, b = admin.create_account("fa"), admin.create_account("fb")
    host_a, host_b = signed_in(a), signed_in(b)
    assert b["username"] not in friends_of(host_a)

    host_a.ok("friend add %s" % b["phone"])
    host_b.wait_for(lambda e: e.get("event") == "friend" and e.get("what") == "request"
                    and e.get("user") == a["username"])
    host_b.wait_for(lambda e: e.get("event") == "message" and e.get("type") == "ZZA")
    assert [(r["from"], r["state"]) for r in host_b.ok("requests")["requests"]] == [(a["username"], "waiting")]

    host_b.ok("friend agree %s" % a["username"])
    host_a.wait_for(lambda e: e.get("event") == "friend" and e.get("what") == "agreed"
                    and e.get("user") == b["username"])
    assert b["username"] in friends_of(host_a)
    assert a["username"] in friends_of(host_b)
    assert [r["state"] for r in host_b.ok("requests")["requests"]] == ["agreed"]


def test_group_message_reaches_each_member_once(admin, signed_in):
    sender = admin.create_account("gs")
    members = [admin.create_account("gm") for _ in range(3)]
    enterprise = "9%05d" % (int(time.time() * 1000) % 100000)
    admin.post("enterprises", {"id": enterprise, "title": "测试团队",
                               "members": [sender["username"]] + [m["username"] for m in members]})
    host_sender = signed_in(sender)
    listed = {e["id"]: e for e in host_sender.ok("enterprises")["enterprises"]}
    assert len(listed[enterprise]["members"]) == 4
    member_hosts = [signed_in(m) for m in members]

    sent = host_sender.ok("send --group text %s 大家好" % enterprise)["message"]
    assert sent["status"] == 6 and sent["to"] == enterprise
    for host in member_hosts:
        event = host.wait_for(text_from(sender["username"], "大家好"))
        assert event["group"] is True and event["conversation"] == enterprise
    time.sleep(1)  # a duplicate would arrive in this time
    for host in member_hosts:
        assert len(host.messages(text_from(sender["username"], "大家好"))) == 1
        rows = conversation(host, enterprise, group=True)
        assert [(r["from"], r["text"]) for r in rows] == [(sender["username"], "大家好")]
        listed = host.ok("conversations")["conversations"]
        assert [(c["with"], c["group"]) for c in listed] == [(enterprise, True)]


def test_customer_service_conversation_goes_to_an_agent(admin, signed_in):
    agent = admin.create_account("", kind="agent", username="10000@e2e%06x" % int(time.time() * 1000 % 0xffffff))
    user = admin.create_account("cs")
    host_agent = signed_in(agent)
    assert host_agent.ok("whoami")["customerService"] is True
    host_user = signed_in(user)

    host_user.ok("send text 10000 我需要帮助")
    assigned = host_user.wait_for(lambda e: e.get("event") == "message" and e.get("type") == "BBK")
    assert assigned["from"] == "10000"
    assert assigned["content"]["customer_service"]["username"] == agent["username"]
    asked = host_agent.wait_for(text_from(user["username"], "我需要帮助"))
    assert (asked["to"], asked["conversation"]) == ("10000", user["username"])

    host_agent.ok("send text %s 您好，请讲" % user["username"])
    host_user.wait_for(text_from(agent["username"], "您好，请讲"))
    rows = conversation(host_user, agent["username"])
    assert [r["text"] for r in rows] == ["您好，请讲"]
    listed = {c["with"]: c["group"] for c in host_agent.ok("conversations")["conversations"]}
    assert listed == {user["username"]: False}


def test_picture_and_large_file_arrive_intact(admin, signed_in, tmp_path):
    a, b = admin.create_account("pa"), admin.create_account("pb")
    admin.post("friends", {"a": a["username"], "b": b["username"]})
    host_a, host_b = signed_in(a), signed_in(b)

    picture = tmp_path / "map.png"
    picture.write_bytes(png(64, 48))
    large = tmp_path / "survey.bin"
    with open(large, "wb") as f:
        f.write(os.urandom(20 * 1024 * 1024))

    for path, kind in ((picture, "pic"), (large, "file")):
        sent = host_a.ok("send %s %s %s" % (kind, b["username"], path), timeout=300)["message"]
        assert sent["status"] == 6
        done = host_b.wait_for(lambda e: e.get("event") == "status" and e.get("status") in (9, 10)
                               and e.get("file", {}).get("name") == path.name, timeout=300)
        assert done["status"] == 9
        received = done["file"]["path"]
        assert os.path.dirname(received).endswith(os.path.join("UserInfo", b["username"]))
        assert md5_of(received) == md5_of(path)
    # Four blocks of 5 MiB: a step after each, the last one held at 0.99 until the frame is out.
    progress = [e["fraction"] for e in host_a.events if e.get("event") == "progress" and e["id"] == sent["id"]]
    assert progress == [0.25, 0.5, 0.75, 0.99, 1.0]


def test_restart_signs_in_by_stored_token(admin, console, server, tmp_path):
    from consolehost import ConsoleHost, run_console

    account = admin.create_account("rs")
    profile = str(tmp_path / "restart")
    code, events, _ = run_console(console, profile, server.host_env(),
                                  ["login", "password", account["username"], account["password"]])
    assert code == 0 and events[0]["by"] in ("visitor", "none")

    admin.call("DELETE", "requests")
    with ConsoleHost(console, profile, server.host_env()) as host:
        assert (host.start["by"], host.start["user"], host.start["login"]) == ("token", account["username"], True)
        host.wait_for(lambda e: e.get("event") == "link" and e.get("state") == "connected")
        assert host.ok("login token")["user"] == account["username"]
        host.ok("autologin off")
    paths = [r["path"] for r in admin.get("requests?service=account")]
    assert "/pro/user/auth" in paths and "/pro/login/login" not in paths

    # With auto-login off the next start stays a visitor and keeps the token.
    code, events, stderr = run_console(console, profile, server.host_env(), ["login", "token"])
    assert events[0]["by"] == "visitor"
    assert code == 1 and "switched off" in stderr


def test_notices_reach_a_headless_host(admin, signed_in):
    user = admin.create_account("nt")
    host = signed_in(user)
    admin.post("push", {"to": user["username"], "type": "ZZN",
                        "data": {"url": "http://example.invalid/n", "notice": {"id": 7}}})
    notice = host.wait_for(lambda e: e.get("event") == "message" and e.get("type") == "ZZN")
    assert (notice["conversation"], notice["status"]) == ("kavora", 1)
    assert host.ok("whoami")["unreadNotices"] == 1

    # A pop-up would open a modal page: the host reports it and goes on.
    admin.post("push", {"to": user["username"], "type": "ZZO",
                        "data": {"url": "http://example.invalid/p", "notice": {"id": 8}}})
    popup = host.wait_for(lambda e: e.get("event") == "popup")
    # The console host turns the safety switch on: the token goes to the services' own hosts only.
    assert popup["url"] == "http://example.invalid/p?id=8"
    assert host.ok("whoami")["login"] is True
