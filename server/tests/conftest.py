# SPDX-License-Identifier: MIT
import asyncio
import json
import os
import sys

import aiohttp
import pytest

sys.path.insert(0, os.path.dirname(os.path.dirname(os.path.abspath(__file__))))

from kvserver.cipher import Cipher  # noqa: E402
from kvserver.core import DEFAULT_SEED, Context  # noqa: E402
from kvserver.main import ServerProcess  # noqa: E402

PASSWORD = "kv123456"


class Client:
    """Talks to a running server the way the module does."""

    def __init__(self, proc, session):
        self.proc = proc
        self.session = session
        self.cipher = proc.ctx.cipher
        self.info = proc.info()
        self.base = self.info["account_url"]
        self.file_base = "http://%s:%d/" % (self.info["file_host"], self.info["file_port"])
        self.sockets = []

    async def call(self, method, path, body=None, token=None, raw=None, base=None):
        headers = {"Content-Type": "application/x-www-form-urlencoded", "platform": "PC-PRO"}
        if token:
            headers["auth"] = token
        if raw is None and body is not None:
            raw = self.cipher.encrypt(json.dumps(body, indent=4).encode())
        async with self.session.request(method, (base or self.base) + path, data=raw,
                                        headers=headers) as resp:
            assert resp.status == 200, (path, resp.status)
            return self.cipher.decode_json(await resp.read())

    async def multipart(self, path, parts, token, base=None):
        """parts: (name, bytes-or-text, filename or None), sent in this order with
        the Content-Disposition texts the module writes."""
        writer = aiohttp.MultipartWriter("form-data")
        for name, value, filename in parts:
            if filename is None:
                part = writer.append(str(value).encode(), {"Content-Type": "text/plain"})
                part.headers["Content-Disposition"] = 'form-data;  name="%s"' % name
            else:
                part = writer.append(value, {"Content-Type": "application/octet-stream"})
                part.headers["Content-Disposition"] = \
                    'form-data; name="%s"; filename="%s"' % (name, filename)
        async with self.session.post((base or self.file_base) + path, data=writer,
                                     headers={"auth": token, "platform": "PC-PRO"}) as resp:
            body = await resp.read()
            return resp.status, self.cipher.decode_json(body)

    async def admin(self, method, path, payload=None):
        async with self.session.request(method, self.info["admin_url"] + path, json=payload) as r:
            assert r.status == 200, (path, r.status, await r.text())
            return await r.json()

    async def login(self, username, password=PASSWORD):
        reply = await self.call("POST", "pro/login/login", {
            "username": username, "password": password, "platform": "PC-PRO", "client_id": "t"})
        assert reply["code"] == 200, reply
        return reply["data"]["token"]

    async def connect(self, token):
        ws = await self.session.ws_connect(
            "ws://%s/wsmessage?auth=%s&platform=pc-pro" % (self.info["message_host"], token))
        self.sockets.append(ws)
        return Socket(ws)

    async def user(self, username):
        return await self.connect(await self.login(username))


class Socket:
    def __init__(self, ws):
        self.ws = ws

    async def send(self, obj):
        await self.ws.send_str(json.dumps(obj, indent=4))

    async def recv(self, timeout=2.0):
        msg = await asyncio.wait_for(self.ws.receive(), timeout)
        assert msg.type == aiohttp.WSMsgType.TEXT, msg
        return json.loads(msg.data)

    async def silent(self, timeout=0.2):
        """True when nothing arrives within the time."""
        try:
            msg = await asyncio.wait_for(self.ws.receive(), timeout)
        except asyncio.TimeoutError:
            return True
        raise AssertionError("unexpected frame: %r" % (msg,))

    async def chat(self, to, text, sid, group=False, mtype="BBC"):
        await self.send({"type": mtype, "sid": sid, "group": group, "to": to,
                         "data": {"content": text}})
        ack = await self.recv()
        assert ack["type"] == "SSS" and ack["sid"] == sid, ack
        return ack

    async def ack(self, *frames):
        await self.send({"type": "RRR", "sid": "x", "group": False,
                         "data": [f["message_id"] for f in frames]})

    async def catch_up(self, last_id=""):
        await self.send({"type": "QQQ", "sid": "x", "group": False,
                         "data": {"message_id": last_id}})


@pytest.fixture
async def server(tmp_path):
    ctx = Context(str(tmp_path / "data"), DEFAULT_SEED, Cipher())
    proc = ServerProcess(ctx, "127.0.0.1", 0, 0, "127.0.0.1", 0)
    await proc.start()
    yield proc
    await proc.stop()


@pytest.fixture
async def client(server):
    async with aiohttp.ClientSession() as session:
        c = Client(server, session)
        yield c
        for ws in c.sockets:
            await ws.close()
