# SPDX-License-Identifier: MIT
"""Admin API for tests and the demo: plain JSON under /admin/ on the account port,
answered to loopback clients only."""
import asyncio
import ipaddress
import json
import os
import secrets
import sqlite3
import time

from aiohttp import web

from .files import FileService
from .messaging import SERVICE_USER, SYSTEM_USER, frame_of


def _json(data, status=200):
    return web.json_response(data, status=status, dumps=lambda o: json.dumps(o, ensure_ascii=False))


class _Error(Exception):
    def __init__(self, status, text):
        super().__init__(text)
        self.status = status
        self.text = text


def _is_loopback(remote):
    try:
        return ipaddress.ip_address(remote).is_loopback
    except ValueError:
        return False


class AdminApi:
    def __init__(self, ctx):
        self.ctx = ctx
        # While set, account replies wait: a stalled account service.
        self.account_hold = None

    @property
    def store(self):
        return self.ctx.store

    @property
    def hub(self):
        return self.ctx.hub

    def routes(self):
        return [
            web.get("/admin/", self.info),
            web.get("/admin/accounts", self.accounts),
            web.post("/admin/accounts", self.create_account),
            web.post("/admin/profile", self.change_profile),
            web.post("/admin/enterprises", self.create_enterprise),
            web.get("/admin/enterprises", self.enterprises),
            web.post("/admin/friends", self.make_friends),
            web.get("/admin/friend_requests", self.friend_requests),
            web.post("/admin/token", self.issue_token),
            web.get("/admin/sms", self.sms),
            web.post("/admin/scan", self.scan),
            web.post("/admin/push", self.push),
            web.post("/admin/close", self.close),
            web.post("/admin/refuse", self.refuse),
            web.post("/admin/hold_sss", self.hold_sss),
            web.post("/admin/hold_account", self.hold_account),
            web.post("/admin/catch_up_pause", self.catch_up_pause),
            web.post("/admin/fail_block", self.fail_block),
            web.get("/admin/messages", self.messages),
            web.get("/admin/queue", self.queue),
            web.get("/admin/files", self.files),
            web.get("/admin/connections", self.connections),
            web.get("/admin/requests", self.requests),
            web.delete("/admin/requests", self.clear_requests),
            web.post("/admin/reset", self.reset),
        ]

    @web.middleware
    async def middleware(self, request, handler):
        if not request.path.startswith("/admin"):
            if self.account_hold is not None:
                await self.account_hold.wait()
            return await handler(request)
        if not _is_loopback(request.remote or ""):
            return _json({"error": "loopback only"}, 403)
        try:
            return await handler(request)
        except _Error as e:
            return _json({"error": e.text}, e.status)
        except sqlite3.IntegrityError as e:
            return _json({"error": str(e)}, 409)

    async def body(self, request):
        try:
            obj = await request.json() if await request.read() else {}
        except ValueError:
            raise _Error(400, "body is not JSON")
        if not isinstance(obj, dict):
            raise _Error(400, "body must be a JSON object")
        return obj

    def need(self, obj, key):
        if not obj.get(key):
            raise _Error(400, "missing " + key)
        return obj[key]

    def account_view(self, acc):
        out = self.ctx.profile(acc)
        out.update(kind=acc["kind"], online=self.hub.online(acc["username"]))
        return out

    # ----------------------------------------------------------------------
    async def info(self, request):
        return _json({"account_url": self.ctx.account_base, "file_base": self.ctx.file_base,
                      "data_dir": self.ctx.data_dir})

    async def accounts(self, request):
        return _json([self.account_view(a) for a in self.store.accounts(request.query.get("kind"))])

    async def create_account(self, request):
        obj = await self.body(request)
        self.need(obj, "username")
        if self.store.account(obj["username"]):
            raise _Error(409, "account exists")
        acc = self.ctx.create_account(obj)
        return _json(self.account_view(acc))

    async def change_profile(self, request):
        obj = await self.body(request)
        name = self.need(obj, "username")
        if not self.store.account(name):
            raise _Error(404, "no such account")
        fields = {k: obj[k] for k in ("phone", "nickname", "sex", "hometown", "location", "signature")
                  if k in obj}
        if "face" in obj:
            # false removes the picture; a colour or nothing makes a new one
            fields["face"] = "" if obj["face"] is False else self.ctx._face_key(obj["face"] or None, name)
        self.store.update_account(name, **fields)
        return _json(self.account_view(self.store.account(name)))

    async def create_enterprise(self, request):
        obj = await self.body(request)
        self.need(obj, "id")
        obj.setdefault("title", obj["id"])
        self.ctx.create_enterprise(obj)
        return _json({"id": obj["id"], "title": obj["title"],
                      "members": [m["username"] for m in self.store.members(obj["id"])]})

    async def enterprises(self, request):
        return _json([{"id": e["id"], "title": e["title"],
                       "members": [m["username"] for m in self.store.members(e["id"])]}
                      for e in self.store.enterprises()])

    async def make_friends(self, request):
        obj = await self.body(request)
        a, b = self.need(obj, "a"), self.need(obj, "b")
        if obj.get("remove"):
            self.store.remove_friendship(a, b)
        else:
            self.store.add_friendship(a, b)
        return _json({"a": a, "b": b, "friends": self.store.are_friends(a, b)})

    async def friend_requests(self, request):
        return _json(self.store.requests())

    async def issue_token(self, request):
        obj = await self.body(request)
        name = self.need(obj, "username")
        if self.store.account(name) is None:
            raise _Error(404, "no such account")
        token, session_id = self.store.issue_token(name)
        return _json({"username": name, "token": token, "session_id": session_id})

    async def sms(self, request):
        row = self.store.sms_code(request.query.get("phone", ""))
        if row is None:
            raise _Error(404, "no code issued for this phone")
        return _json({"phone": row["phone"], "code": row["code"], "created": row["created"]})

    async def scan(self, request):
        obj = await self.body(request)
        name = self.need(obj, "username")
        if self.store.account(name) is None:
            raise _Error(404, "no such account")
        scene = obj.get("scene") or secrets.token_hex(8)
        self.store.create_scene(name, scene)
        return _json({"username": name, "scene": scene})

    async def push(self, request):
        obj = await self.body(request)
        to_user = self.need(obj, "to")
        if "raw" in obj:
            conns = self.hub.connections(to_user)
            for conn in conns:
                await conn.ws.send_str(obj["raw"] if isinstance(obj["raw"], str)
                                       else json.dumps(obj["raw"], ensure_ascii=False))
            return _json({"sent": len(conns)})
        mtype = self.need(obj, "type")
        # Customer-service tips belong to the "10000" conversation, the rest to the system one.
        default_from = SERVICE_USER if mtype in ("BBI", "BBJ", "BBK") else SYSTEM_USER
        row = await self.hub.post(mtype, to_user, obj.get("data", {}),
                                  from_user=obj.get("from", default_from),
                                  platform=obj.get("platform", "server"),
                                  group=bool(obj.get("group", False)), to=obj.get("to_list"))
        return _json({"message": frame_of(row), "sent": len(self.hub.connections(to_user))})

    async def close(self, request):
        obj = await self.body(request)
        name = self.need(obj, "username")
        mode = obj.get("mode", "clean")
        if mode not in ("clean", "abort"):
            raise _Error(400, "mode is clean or abort")
        n = await self.hub.close_user(name, mode, int(obj.get("code", 1000)))
        return _json({"closed": n})

    async def refuse(self, request):
        obj = await self.body(request)
        seconds = float(obj.get("seconds", 0))
        mode = obj.get("mode", "tcp")
        if mode == "http":
            self.hub.refuse_until = time.time() + seconds
        elif mode == "tcp":
            listener = self.hub.listener
            if listener is None:
                raise _Error(409, "no listener to pause")
            await listener.pause(seconds)
        else:
            raise _Error(400, "mode is tcp or http")
        return _json({"seconds": seconds, "mode": mode})

    async def hold_sss(self, request):
        obj = await self.body(request)
        released = await self.hub.set_hold_sss(obj.get("on", True), bool(obj.get("drop", False)))
        return _json({"on": self.hub.hold_sss, "held": len(self.hub.held_sss), "released": released})

    async def hold_account(self, request):
        obj = await self.body(request)
        if obj.get("on", True):
            if self.account_hold is None:
                self.account_hold = asyncio.Event()
        elif self.account_hold is not None:
            self.account_hold.set()
            self.account_hold = None
        return _json({"on": self.account_hold is not None})

    async def catch_up_pause(self, request):
        obj = await self.body(request)
        self.hub.catch_up_pause = max(0.0, float(obj.get("seconds", 0)))
        return _json({"seconds": self.hub.catch_up_pause})

    async def fail_block(self, request):
        obj = await self.body(request)
        index = obj.get("index")
        self.ctx.fail_block = int(index) if index is not None else None
        return _json({"index": self.ctx.fail_block})

    async def messages(self, request):
        after = request.query.get("after")
        rows = self.store.messages(user=request.query.get("user"),
                                   after=int(after) if after else None)
        out = []
        for row in rows:
            item = frame_of(row)
            item["deliveries"] = row["deliveries"]
            out.append(item)
        return _json(out)

    async def queue(self, request):
        name = request.query.get("username", "")
        return _json([frame_of(r) for r in self.store.queued(name)])

    async def files(self, request):
        svc = FileService(self.ctx)
        out = []
        for row in self.store.files():
            item = svc.file_data(row)
            item.update(uploader=row["uploader"], created=row["created"])
            out.append(item)
        pending = {}
        for md5 in sorted(os.listdir(self.ctx.blocks_dir)):
            pending[md5] = sorted(svc.held_blocks(md5))
        return _json({"files": out, "pending": pending, "fail_block": self.ctx.fail_block})

    async def connections(self, request):
        return _json({"connections": [c.describe() for c in self.hub.connections()],
                      "last_upgrade": self.hub.last_upgrade,
                      "upgrades": self.hub.upgrades})

    async def requests(self, request):
        items = list(self.ctx.requests)
        service = request.query.get("service")
        if service:
            items = [e for e in items if e["service"] == service]
        path = request.query.get("path")
        if path:
            items = [e for e in items if e["path"] == path]
        n = request.query.get("n")
        if n:
            items = items[-int(n):]
        return _json(items)

    async def clear_requests(self, request):
        self.ctx.requests.clear()
        return _json({"cleared": True})

    async def reset(self, request):
        if self.account_hold is not None:
            self.account_hold.set()
            self.account_hold = None
        await self.hub.close_all()
        await asyncio.sleep(0)
        self.ctx.reset()
        return _json({"reset": True})
