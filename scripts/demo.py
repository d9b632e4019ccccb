#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""The main job's scripted conversation.

Starts the reference server with the demo accounts in a temporary folder and
lets zhangwei and chenjing talk through two console hosts: sign-in, a friend
request and its agreement, texts both ways, a picture and a file with their
download, and a message to the team they share. Ends with the rows each side
has stored, and stops the server.

    demo.py --console build/apps/console/kvmess-console [--desktop build/apps/desktop/kvmess-desktop] [--keep]

With a display and the desktop host, zhangwei is the desktop host instead, and
chenjing writes to him from a console host until the window closes.
"""

import argparse
import os
import shutil
import sqlite3
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
SOURCE_DIR = os.path.dirname(HERE)
sys.path.insert(0, os.path.join(SOURCE_DIR, "tests", "e2e"))

from consolehost import ConsoleHost, Server, md5_of, png  # noqa: E402

PASSWORD = "kv123456"
ZHANG = {"username": "zhangwei", "name": "张伟", "phone": "13800000001"}
CHEN = {"username": "chenjing", "name": "陈静", "phone": "13800000005"}
TEAM = ("100002", "远山地理信息工作室")
STATUS = {0: "received", 6: "sent, acknowledged", 7: "send failed", 8: "downloading", 9: "downloaded",
          10: "download failed", 12: "sending"}


def say(text=""):
    print(text, flush=True)


def step(title):
    say()
    say("== %s" % title)


def clock():
    return time.strftime("%H:%M:%S")


def line(who, arrow, peer, what):
    say("  %s  %-8s %s %-8s  %s" % (clock(), who, arrow, peer, what))


def received(host, predicate, timeout=60):
    return host.wait_for(lambda e: e.get("event") in ("message", "status") and predicate(e), timeout)


def send_file(sender, receiver, kind, path, to):
    mark = len(sender.events)
    result = sender.command("send %s %s %s" % (kind, to, path), timeout=600)
    if not result["ok"]:
        if "not part of this build" in result.get("error", ""):
            line(sender.name, "->", to, "(%s not sent: this build sends no pictures or files)" % kind)
            return
        raise SystemExit("demo: %s failed: %s" % (kind, result.get("error")))
    sent = result["message"]
    steps = [e["fraction"] for e in sender.events[mark:] if e.get("event") == "progress"]
    line(sender.name, "->", to, "%s %s, %d bytes, uploaded%s: %s" % (
        kind, os.path.basename(path), os.path.getsize(path),
        " (%s)" % " ".join("%d%%" % round(f * 100) for f in steps) if steps else "", STATUS[sent["status"]]))
    done = received(receiver, lambda e: e.get("status") in (9, 10)
                    and e.get("file", {}).get("name") == os.path.basename(path), timeout=600)
    same = done["status"] == 9 and md5_of(done["file"]["path"]) == md5_of(path)
    line(receiver.name, "<-", sender.name, "%s %s: %s to %s, MD5 %s" % (
        kind, os.path.basename(path), STATUS[done["status"]], done["file"]["path"],
        "identical" if same else "DIFFERENT"))


def stored_rows(profile, user):
    database = os.path.join(profile, "work", "UserInfo", user, user + ".db")
    with sqlite3.connect(database) as db:
        tables = [r[0] for r in db.execute("SELECT name FROM sqlite_master WHERE type='table' ORDER BY name")]
        for table in tables:
            rows = db.execute("SELECT * FROM %s" % table).fetchall()
            columns = [d[0] for d in db.execute("SELECT * FROM %s LIMIT 0" % table).description]
            say("  %s (%d)" % (table, len(rows)))
            say("    " + " | ".join(columns))
            for row in rows:
                cells = []
                for value in row:
                    text = "<%d bytes>" % len(value) if isinstance(value, bytes) else str(value)
                    cells.append(text if len(text) <= 60 else text[:57] + "...")
                say("    " + " | ".join(cells))


def converse(console, server, folder):
    env = server.host_env()
    zhang = ConsoleHost(console, os.path.join(folder, "zhangwei"), env, name="zhangwei")
    chen = ConsoleHost(console, os.path.join(folder, "chenjing"), env, name="chenjing")
    try:
        step("Sign-in")
        for host, who in ((zhang, ZHANG), (chen, CHEN)):
            session = host.ok("login password %s %s" % (who["username"], PASSWORD))
            line(host.name, "  ", "", "signed in as %s (%s), link %s" % (
                session["user"], session["nickname"], "up" if session["connected"] else "down"))

        step("Friend request and agreement")
        zhang.ok("friend add %s" % CHEN["phone"])
        line("zhangwei", "->", "chenjing", "friend request to phone %s" % CHEN["phone"])
        chen.wait_for(lambda e: e.get("event") == "message" and e.get("type") == "ZZA")
        waiting = [r["from"] for r in chen.ok("requests")["requests"] if r["state"] == "waiting"]
        line("chenjing", "<-", "zhangwei", "friend request; waiting: %s" % ", ".join(waiting))
        chen.ok("friend agree zhangwei")
        line("chenjing", "->", "zhangwei", "agreed")
        zhang.wait_for(lambda e: e.get("event") == "friend" and e.get("what") == "agreed")
        line("zhangwei", "<-", "chenjing", "request agreed")
        for host in (zhang, chen):
            names = [f["username"] for f in host.ok("friends")["friends"] if not f.get("self")]
            line(host.name, "  ", "", "friends: %s" % ", ".join(names))

        step("Texts both ways")
        for sender, receiver, text in ((zhang, chen, "你好，陈静！我是张伟，测绘部的。"),
                                       (chen, zhang, "张伟你好，很高兴认识你。"),
                                       (zhang, chen, "我把上周的测区图和外业数据发给你。")):
            sent = sender.ok("send text %s %s" % (receiver.name, text))["message"]
            line(sender.name, "->", receiver.name, "%s  [%s, server id %s]" % (
                text, STATUS[sent["status"]], sent["serverId"]))
            got = received(receiver, lambda e: e.get("text") == text and not e.get("isSend"))
            line(receiver.name, "<-", sender.name, got["text"])

        step("A picture and a file, downloaded by the receiver")
        picture = os.path.join(folder, "测区图.png")
        with open(picture, "wb") as f:
            f.write(png(320, 200, (0x2f, 0x80, 0x5a)))
        data = os.path.join(folder, "外业数据.bin")
        with open(data, "wb") as f:
            f.write(os.urandom(12 * 1024 * 1024))
        send_file(zhang, chen, "pic", picture, "chenjing")
        send_file(zhang, chen, "file", data, "chenjing")

        step("A message to the team (%s %s)" % TEAM)
        text = "大家好，周五下午三点开项目例会。"
        chen.ok("send --group text %s %s" % (TEAM[0], text))
        line("chenjing", "->", TEAM[0], text)
        got = received(zhang, lambda e: e.get("text") == text and e.get("group"))
        line("zhangwei", "<-", TEAM[0], "%s  (from %s)" % (got["text"], got["from"]))

        step("Conversations")
        for host in (zhang, chen):
            for c in host.ok("conversations")["conversations"]:
                last = c["last"]
                what = last.get("text") or (last.get("file") or {}).get("name") or last["type"]
                line(host.name, "  ", "", "%-9s %-12s unread %d, last: %s" % (
                    c["with"], c["title"] + (" (team)" if c["group"] else ""), c["unread"], what))
    finally:
        zhang.close()
        chen.close()

    for who in (ZHANG, CHEN):
        step("Rows stored by %s" % who["username"])
        stored_rows(os.path.join(folder, who["username"]), who["username"])


def render_windows(desktop, server, folder, shots, lang):
    """Opens each side's desktop host offscreen on what the conversation left and renders it."""
    env = dict(server.host_env(), QT_QPA_PLATFORM="offscreen")
    os.makedirs(shots, exist_ok=True)
    views = (("zhangwei", "message", "chenjing"), ("chenjing", "notice", "zhangwei"))
    for user, page, peer in views:
        target = os.path.join(shots, "%s.png" % user)
        done = subprocess.run([desktop, "--profile", os.path.join(folder, user), "--page", page, "--chat", peer,
                               "--screenshot", target] + (["--lang", lang] if lang else []), env=env, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                              text=True, timeout=60)
        for path in done.stdout.split():
            line(user, "  ", "", "window rendered: %s" % path)


def live(console, desktop, server, folder, seconds, lang):
    """With a display: the desktop host as zhangwei while chenjing's console plays the other side."""
    env = server.host_env()
    step("The desktop host signed in as zhangwei; chenjing writes from a console host")
    window = subprocess.Popen([desktop, "--profile", os.path.join(folder, "zhangwei"),
                               "--user", "zhangwei", "--password", PASSWORD] + (["--lang", lang] if lang else []),
                              env=dict(os.environ, **env))
    chen = ConsoleHost(console, os.path.join(folder, "chenjing"), env, name="chenjing")
    picture = os.path.join(folder, "测区图.png")
    with open(picture, "wb") as f:
        f.write(png(320, 200, (0x2f, 0x80, 0x5a)))
    data = os.path.join(folder, "外业数据.bin")
    with open(data, "wb") as f:
        f.write(os.urandom(2 * 1024 * 1024))
    script = (("friend add %s" % ZHANG["phone"], "a friend request (agree to it on the notice page)"),
              ("send text zhangwei 张伟你好，我是陈静，测绘部新来的。", "a text"),
              ("send pic zhangwei %s" % picture, "a picture"),
              ("send file zhangwei %s" % data, "a file"),
              ("send --group text %s 大家好，周五下午三点开项目例会。" % TEAM[0], "a message to the team"),
              ("send text zhangwei 收到请回复，谢谢！", "a text"))
    try:
        chen.ok("login password chenjing %s" % PASSWORD)
        time.sleep(3)  # the window comes up and signs in
        for command, what in script:
            if window.poll() is not None:
                break
            chen.ok(command)
            line("chenjing", "->", "zhangwei", what)
            time.sleep(2)
        say("\nAnswer in the window; chenjing's replies are not scripted. Close the window (or Ctrl-C) to end.")
        deadline = time.time() + seconds if seconds else None
        while window.poll() is None and (deadline is None or time.time() < deadline):
            time.sleep(0.5)
    except KeyboardInterrupt:
        pass
    finally:
        if window.poll() is None:
            window.terminate()
            try:
                window.wait(10)
            except subprocess.TimeoutExpired:
                window.kill()
        chen.close()


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--console", required=True, help="the kvmess-console binary")
    parser.add_argument("--desktop", help="the kvmess-desktop binary: render its windows after the conversation")
    parser.add_argument("--shots", default=os.path.join(tempfile.gettempdir(), "kvmess-windows"),
                        help="where the rendered windows go (default: %(default)s)")
    parser.add_argument("--offscreen", action="store_true",
                        help="play the console conversation and render the windows even when a display is there")
    parser.add_argument("--for", dest="seconds", type=float, default=0,
                        help="with a display: end the session after SECONDS (default: when the window closes)")
    parser.add_argument("--lang", choices=("en", "zh"), help="the windows' language (default: the system's)")
    parser.add_argument("--keep", action="store_true", help="keep the temporary folder")
    args = parser.parse_args()

    folder = tempfile.mkdtemp(prefix="kvmess-demo-")
    fixture = os.path.join(folder, "server")
    script = os.path.join(SOURCE_DIR, "server", "fixture.sh")
    subprocess.run(["bash", script, "start", fixture], check=True)
    try:
        server = Server(fixture)
        say("Reference server with the demo accounts: account %s, message %s, files %s:30081" % (
            server.env["KVMESS_ACCOUNT_URL"], server.env["KVMESS_MESSAGE_HOST"], server.env["KVMESS_FILE_HOST"]))
        say("Working folder: %s" % folder)
        if args.desktop and os.environ.get("DISPLAY") and not args.offscreen:
            live(os.path.abspath(args.console), os.path.abspath(args.desktop), server, folder, args.seconds, args.lang)
            return
        converse(os.path.abspath(args.console), server, folder)
        if args.desktop:
            step("The windows, as each side's desktop host shows them")
            render_windows(os.path.abspath(args.desktop), server, folder, args.shots, args.lang)
    finally:
        subprocess.run(["bash", script, "stop", fixture])
        if args.keep:
            say("\nKept %s" % folder)
        else:
            shutil.rmtree(folder, ignore_errors=True)
    say("\nServer stopped.")


if __name__ == "__main__":
    main()
