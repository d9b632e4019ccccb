# SPDX-License-Identifier: MIT
"""The message server: one WebSocket per device at /wsmessage, JSON text frames."""
import asyncio
import itertools
import json
import logging
import socket
import struct
import time

from aiohttp import WSMsgType, web

log = logging.getLogger("kvmess.message")

CHAT_TYPES = ("BBA", "BBB", "BBC")
SYSTEM_USER = "kavora"
SERVICE_USER = "10000"
AGENT_PREFIX = SERVICE_USER + "@"
CATCH_UP_BATCH = 100
SERVER_PLATFORM = "server"


def is_agent_name(name):
    return isinstance(name, str) and name.startswith(AGENT_PREFIX)


def frame_of(row):
    """The frame that carries a stored message to a client."""
    return {
        "type": row["type"],
        "data": json.loads(row["data_json"]),
        "message_id": str(row["id"]),
        "create_time": row["create_time"],
        "platform": row["platform"],
        "from": row["from_user"],
        "group": bool(row["grp"]),
        "to": json.loads(row["to_json"]),
        "sid": row["sid"],
    }


def _dumps(obj):
    return json.dumps(obj, ensure_ascii=False)


class Connection:
    _ids = itertools.count(1)

    def __init__(self, ws, request, username, token, platform):
        self.id = next(self._ids)
        self.ws = ws
        self.request = request
        self.username = username
        self.token = token
        self.platform = platform
        self.connected_at = time.time()
        self.sent_ids = set()   # message ids already written to this socket

    def describe(self):
        return {"id": self.id, "username": self.username, "token": self.token,
                "platform": self.platform, "connected_at": self.connected_at,
                "remote": self.request.remote}


class MessageHub:
    def __init__(self, ctx):
        self.ctx = ctx
        self.conns = {}            # username -> [Connection]
        self.last_upgrade = None
        self.upgrades = []         # recent upgrade attempts, newest last
        self.hold_sss = False
        self.held_sss = []         # (Connection, frame)
        self.refuse_until = 0.0    # answer upgrades with 503 until then
        self.catch_up_pause = 0.0  # seconds between the arrays of a catch-up (a slow link)
        self.agent_cursor = 0
        self.agent_of = {}         # user -> assigned agent
        self.listener = None       # set by the launcher; can stop listening for a while

    @property
    def store(self):
        return self.ctx.store

    # connections ---------------------------------------------------------
    def connections(self, username=None):
        if username is not None:
            return list(self.conns.get(username, ()))
        return [c for lst in self.conns.values() for c in lst]

    def online(self, username):
        return bool(self.conns.get(username))

    def platforms(self, username):
        return sorted({c.platform for c in self.conns.get(username, ()) if c.platform})

    def _register(self, conn):
        self.conns.setdefault(conn.username, []).append(conn)

    def _unregister(self, conn):
        lst = self.conns.get(conn.username, [])
        if conn in lst:
            lst.remove(conn)
        if not lst:
            self.conns.pop(conn.username, None)

    def _note_upgrade(self, entry):
        self.last_upgrade = entry
        self.upgrades.append(entry)
        del self.upgrades[:-50]

    async def handle(self, request):
        token = request.query.get("auth", "")
        platform = request.query.get("platform", "")
        username = self.store.token_user(token)
        entry = {"token": token, "platform": platform, "username": username,
                 "time": time.time(), "accepted": False}
        self._note_upgrade(entry)
        if time.time() < self.refuse_until:
            entry["refused"] = "busy"
            raise web.HTTPServiceUnavailable(text="not accepting connections\n")
        if username is None:
            entry["refused"] = "token"
            raise web.HTTPUnauthorized(text="unknown token\n")
        ws = web.WebSocketResponse(autoping=True, max_msg_size=16 * 1024 * 1024)
        await ws.prepare(request)
        entry["accepted"] = True
        conn = Connection(ws, request, username, token, platform)
        self._register(conn)
        log.info("connected %s (%s) #%d", username, platform, conn.id)
        try:
            async for msg in ws:
                if msg.type == WSMsgType.TEXT:
                    try:
                        await self.on_text(conn, msg.data)
                    except Exception:
                        log.exception("frame from %s failed", username)
                elif msg.type == WSMsgType.ERROR:
                    break
        finally:
            self._unregister(conn)
            log.info("disconnected %s #%d", username, conn.id)
        return ws

    # sending -------------------------------------------------------------
    async def send(self, conn, obj):
        if conn.ws.closed:
            return False
        try:
            await conn.ws.send_str(_dumps(obj))
            return True
        except (ConnectionError, RuntimeError, asyncio.CancelledError):
            return False
        except Exception:
            log.exception("send to %s failed", conn.username)
            return False

    async def _send_row(self, conn, row):
        conn.sent_ids.add(row["id"])
        await self.send(conn, frame_of(row))

    async def deliver(self, row, addressees, exclude=None, also=()):
        """Sends a stored message to every connection of the addressees and of
        the users in `also`, never to `exclude`."""
        seen = set()
        for name in list(dict.fromkeys(addressees)) + list(also):
            for conn in self.connections(name):
                if conn is exclude or conn.id in seen:
                    continue
                seen.add(conn.id)
                await self._send_row(conn, row)

    async def post(self, mtype, to_user, data, from_user=SYSTEM_USER, platform=SERVER_PLATFORM,
                   group=False, to=None):
        """Stores a server-made message for one user, queues it and sends it."""
        row = self.store.add_message(mtype, from_user, to if to is not None else [to_user], group,
                                     data, platform, "", [to_user])
        await self.deliver(row, [to_user])
        return row

    async def friend_event(self, mtype, to_user, about_user):
        return await self.post(mtype, to_user, {"fromUser": {"username": about_user}})

    # receiving -----------------------------------------------------------
    async def on_text(self, conn, text):
        try:
            doc = json.loads(text)
        except ValueError:
            return
        for obj in (doc if isinstance(doc, list) else [doc]):
            if not isinstance(obj, dict):
                continue
            mtype = obj.get("type")
            if mtype in CHAT_TYPES:
                await self.on_chat(conn, obj)
            elif mtype == "RRR":
                self.on_ack(conn, obj.get("data"))
            elif mtype == "QQQ":
                await self.on_catch_up(conn, obj.get("data"))

    def on_ack(self, conn, data):
        if not isinstance(data, list):
            return
        ids = []
        for item in data:
            try:
                ids.append(int(str(item)))
            except ValueError:
                continue
        self.store.acknowledge(conn.username, ids)

    async def on_catch_up(self, conn, data):
        # The client's mark is the last id it stored, and it moves with live messages
        # too: queued messages below it may never have reached the client. Only "RRR"
        # acknowledges, so a catch-up sends everything still unacknowledged, whatever
        # the mark says; the client drops what it already has.
        rows = [r for r in self.store.queued(conn.username) if r["id"] not in conn.sent_ids]
        for start in range(0, len(rows), CATCH_UP_BATCH):
            chunk = rows[start:start + CATCH_UP_BATCH]
            conn.sent_ids.update(r["id"] for r in chunk)
            if not await self.send(conn, [frame_of(r) for r in chunk]):
                break
            if self.catch_up_pause and start + CATCH_UP_BATCH < len(rows):
                await asyncio.sleep(self.catch_up_pause)

    async def on_chat(self, conn, obj):
        to = obj.get("to")
        if not isinstance(to, list):
            return
        to = [t for t in to if isinstance(t, str) and t]
        if not to:
            return
        group = obj.get("group") is True
        sid = obj.get("sid") if isinstance(obj.get("sid"), str) else ""
        sender = conn.username
        addressees, agent_for = [], None
        if group:
            for ent_id in to:
                addressees += [m["username"] for m in self.store.members(ent_id)
                               if m["username"] != sender]
        else:
            for name in to:
                if name == SERVICE_USER and not is_agent_name(sender):
                    agent_for = True
                elif self.store.account(name):
                    addressees.append(name)
        agent, newly = None, False
        if agent_for:
            agent, newly = self.assign_agent(sender)
            if agent:
                addressees.append(agent)
        row = self.store.add_message(obj["type"], sender, to, group, obj.get("data"),
                                     conn.platform, sid, addressees)
        ack = {"type": "SSS", "sid": sid, "message_id": str(row["id"]),
               "create_time": row["create_time"]}
        if self.hold_sss:
            self.held_sss.append((conn, ack))
        else:
            await self.send(conn, ack)
        if agent_for:
            if agent is None:
                await self.post("BBJ", sender, {"msg": "客服忙，请稍后重试"}, from_user=SERVICE_USER)
            elif newly:
                info = self.store.account(agent)
                await self.post("BBK", sender, {"customer_service": {
                    "username": agent, "nickname": info["nickname"] if info else ""}},
                    from_user=SERVICE_USER)
        await self.deliver(row, addressees, exclude=conn, also=[sender])

    # customer service ------------------------------------------------------
    def online_agents(self):
        return sorted(name for name in self.conns if is_agent_name(name))

    def assign_agent(self, user):
        """Returns (agent, newly_assigned); agent None when none is online."""
        current = self.agent_of.get(user)
        if current and self.online(current):
            return current, False
        agents = self.online_agents()
        if not agents:
            return None, False
        agent = agents[self.agent_cursor % len(agents)]
        self.agent_cursor += 1
        self.agent_of[user] = agent
        return agent, True

    # admin controls --------------------------------------------------------
    async def set_hold_sss(self, on, drop=False):
        self.hold_sss = bool(on)
        released = 0
        if not on:
            held, self.held_sss = self.held_sss, []
            if not drop:
                for conn, ack in held:
                    if await self.send(conn, ack):
                        released += 1
        return released

    async def close_user(self, username, mode="clean", code=1000):
        conns = self.connections(username)
        for conn in conns:
            if mode == "abort":
                abort_connection(conn.request)
            else:
                try:
                    await conn.ws.close(code=code)
                except Exception:
                    abort_connection(conn.request)
        return len(conns)

    async def close_all(self):
        for conn in self.connections():
            try:
                await conn.ws.close(code=1001)
            except Exception:
                pass

    def reset(self):
        self.agent_of.clear()
        self.agent_cursor = 0
        self.held_sss.clear()
        self.hold_sss = False
        self.refuse_until = 0.0
        self.catch_up_pause = 0.0


def abort_connection(request):
    """Drops the TCP connection with a reset instead of a close handshake."""
    transport = request.transport
    if transport is None:
        return
    sock = transport.get_extra_info("socket")
    if sock is not None:
        try:
            sock.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        except OSError:
            pass
    transport.abort()
