# SPDX-License-Identifier: MIT
"""Catch-ups cut by the link while the peer keeps writing: every text is held once.

The receiver's store moves its catch-up mark with live messages too, so a live text
stored during a cut catch-up lies above queued ones that never arrived. A server that
took the mark as an acknowledgement would drop those for good; a catch-up sent again
whole must not leave a second row of what had arrived before the cut."""

import asyncio
import collections
import threading
import time

import aiohttp

FAST = ("--time-scale", "0.1")
BACKLOG = 300
LONG = 32 * 1024
CYCLES = 5


class RawSender:
    """A peer on a bare WebSocket, on a loop of its own: it writes without waiting
    for each acknowledgement, so live texts keep coming during the receiver's catch-ups."""

    def __init__(self, message_host, token, to):
        self.url = "ws://%s/wsmessage?auth=%s&platform=pc-pro" % (message_host, token)
        self.to = to
        self.acked = set()
        self.live = []
        self.loop = asyncio.new_event_loop()
        self.thread = threading.Thread(target=self.loop.run_forever, daemon=True)
        self.thread.start()
        self.call(self._open())
        self.live_task = None

    def call(self, coro, timeout=60):
        return asyncio.run_coroutine_threadsafe(coro, self.loop).result(timeout)

    async def _open(self):
        self.session = aiohttp.ClientSession()
        self.ws = await self.session.ws_connect(self.url, max_msg_size=0)
        self.reader = asyncio.ensure_future(self._read())

    async def _read(self):
        async for msg in self.ws:
            if msg.type == aiohttp.WSMsgType.TEXT and '"SSS"' in msg.data:
                self.acked.add(msg.json()["sid"])

    async def _send(self, sid, text):
        await self.ws.send_json({"type": "BBC", "sid": sid, "group": False, "to": [self.to],
                                 "data": {"content": text}})

    def send_all(self, texts):
        async def run():
            for sid, text in texts:
                await self._send(sid, text)
        self.call(run())
        self.wait_acked([sid for sid, _ in texts])

    def wait_acked(self, sids, timeout=60):
        deadline = time.monotonic() + timeout
        while not set(sids) <= self.acked:
            assert time.monotonic() < deadline, "the server did not acknowledge every text"
            time.sleep(0.05)

    def start_live(self, interval=0.005):
        async def run():
            n = 0
            while True:
                text = "live%05d" % n
                self.live.append(text)
                await self._send(text, text)
                n += 1
                await asyncio.sleep(interval)
        self.live_task = asyncio.run_coroutine_threadsafe(run(), self.loop)

    def stop_live(self):
        self.live_task.cancel()
        time.sleep(0.1)
        self.wait_acked(list(self.live))

    def close(self):
        async def run():
            await self.ws.close()
            await self.session.close()
        self.call(run())
        self.loop.call_soon_threadsafe(self.loop.stop)
        self.thread.join(5)


def test_cut_catch_ups_under_live_traffic(admin, server, signed_in):
    a, b = admin.create_account("ca"), admin.create_account("cb")
    admin.post("friends", {"a": a["username"], "b": b["username"]})
    host = signed_in(a, *FAST)
    host.wait_for(lambda e: e.get("event") == "link" and e.get("state") == "connected")
    token = admin.post("token", {"username": b["username"]})["token"]
    sender = RawSender(server.env["KVMESS_MESSAGE_HOST"], token, a["username"])
    try:
        # A slow link: live texts slip in between the arrays of a catch-up.
        admin.post("catch_up_pause", {"seconds": 0.5})
        # The backlog piles up while the receiver is kept out.
        admin.post("refuse", {"seconds": 60, "mode": "http"})
        admin.post("close", {"username": a["username"], "mode": "abort"})
        backlog = [("q%03d" % i, "q%03d " % i + "x" * LONG) for i in range(BACKLOG)]
        sender.send_all(backlog)
        sender.start_live()

        for cycle in range(CYCLES):
            mark = len(host.events)
            admin.post("refuse", {"seconds": 0, "mode": "http"})
            if cycle == CYCLES - 1:
                break
            up = host.wait_for(lambda e: e.get("event") == "link" and e.get("state") == "connected",
                               after=mark, timeout=30)
            # Cut as soon as a queued text arrives, while the catch-up is under way.
            try:
                host.wait_for(lambda e: e.get("event") == "message"
                              and str(e.get("text", "")).startswith("q"),
                              timeout=10, after=host.events.index(up))
            except AssertionError:
                pass    # nothing new was queued for this cycle
            admin.post("refuse", {"seconds": 60, "mode": "http"})
            admin.post("close", {"username": a["username"], "mode": "abort"})
            time.sleep(1)   # what arrived before the cut is stored meanwhile

        host.wait_for(lambda e: e.get("event") == "link" and e.get("state") == "connected",
                      after=mark, timeout=30)
        admin.post("catch_up_pause", {"seconds": 0})
        time.sleep(1)
        sender.stop_live()
        expected = sorted([text for _, text in backlog] + sender.live)

        deadline = time.monotonic() + 30
        while True:
            rows = host.ok("show %s" % b["username"])["messages"]
            received = [r["text"] for r in rows if r.get("from") == b["username"]]
            if len(received) >= len(expected) or time.monotonic() > deadline:
                break
            time.sleep(0.5)
        time.sleep(1)   # room for a late duplicate
        rows = host.ok("show %s" % b["username"])["messages"]
        received = [r["text"] for r in rows if r.get("from") == b["username"]]
        counts = collections.Counter(received)
        lost = [t[:9] for t in expected if t not in counts]
        doubled = [t[:9] for t, n in counts.items() if n > 1]
        print("texts: %d sent, %d held, %d lost, %d doubled"
              % (len(expected), len(counts), len(lost), len(doubled)))
        assert not lost and not doubled, (len(lost), lost[:5], lost[-5:], doubled[:10])
        assert sorted(received) == expected
    finally:
        admin.post("catch_up_pause", {"seconds": 0})
        admin.post("refuse", {"seconds": 0, "mode": "http"})
        sender.close()
