# SPDX-License-Identifier: MIT
import asyncio

import aiohttp
import pytest

FRAME_KEYS = {"type", "data", "message_id", "create_time", "platform", "from", "group", "to"}


async def test_unknown_token_is_refused_at_the_upgrade(client):
    with pytest.raises(aiohttp.WSServerHandshakeError) as err:
        await client.connect("not-a-token")
    assert err.value.status == 401
    last = (await client.admin("GET", "connections"))["last_upgrade"]
    assert last["token"] == "not-a-token" and last["accepted"] is False


async def test_chat_is_acknowledged_then_delivered_everywhere_but_the_sender(client):
    a1 = await client.user("zhangwei")
    a2 = await client.user("zhangwei")
    b1 = await client.user("lina")
    b2 = await client.user("lina")
    ack = await a1.chat(["lina"], "你好", "s1")
    assert set(ack) >= {"sid", "message_id", "create_time"}
    for sock in (b1, b2, a2):
        frame = await sock.recv()
        assert FRAME_KEYS <= set(frame)
        assert (frame["type"], frame["from"], frame["to"], frame["group"]) == \
            ("BBC", "zhangwei", ["lina"], False)
        assert frame["data"] == {"content": "你好"}
        assert frame["message_id"] == ack["message_id"]
        assert frame["create_time"] == ack["create_time"]
        assert frame["platform"] == "pc-pro"
    assert await a1.silent()

    # Only the addressee's acknowledgement counts, and any of its devices may give it.
    stored = await client.admin("GET", "messages")
    assert stored[-1]["deliveries"] == [{"username": "lina", "acked": 0, "acked_time": None}]
    await b2.ack({"message_id": ack["message_id"]})
    await asyncio.sleep(0.05)
    stored = await client.admin("GET", "messages")
    assert stored[-1]["deliveries"][0]["acked"] == 1


@pytest.mark.parametrize("mtype,data", [
    ("BBA", {"id": "f1", "title": "a.txt", "src": "http://x/a", "md5": "0" * 32, "size": 3}),
    ("BBB", {"id": "f2", "title": "p.png", "src": "http://x/p", "md5": "1" * 32, "size": 9,
             "extra": "kept"}),
])
async def test_file_and_picture_frames_pass_unchanged(client, mtype, data):
    a = await client.user("zhangwei")
    b = await client.user("lina")
    await a.send({"type": mtype, "sid": "f", "group": False, "to": ["lina"], "data": data})
    assert (await a.recv())["type"] == "SSS"
    frame = await b.recv()
    assert frame["type"] == mtype and frame["data"] == data


async def test_catch_up_returns_exactly_the_unacknowledged_messages(client):
    a = await client.user("zhangwei")
    sent = [await a.chat(["lina"], "m%d" % i, "s%d" % i) for i in range(4)]
    ids = [s["message_id"] for s in sent]
    assert [int(i) for i in ids] == sorted({int(i) for i in ids})    # strictly increasing

    # Offline while they were sent: an empty mark fetches all, oldest first, as one array.
    b = await client.user("lina")
    assert await b.silent(0.1)
    await b.catch_up("")
    batch = await b.recv()
    assert isinstance(batch, list)
    assert [f["message_id"] for f in batch] == ids
    assert [f["data"]["content"] for f in batch] == ["m0", "m1", "m2", "m3"]
    await b.ack(batch[0])                      # the client acknowledges only the first...
    await asyncio.sleep(0.05)
    await client.admin("POST", "close", {"username": "lina", "mode": "abort"})

    # A mark above a message that no "RRR" covered does not acknowledge it: a live
    # message may have moved the mark while that one was lost with the link.
    b = await client.user("lina")
    await b.catch_up(ids[2])
    assert [f["message_id"] for f in await b.recv()] == ids[1:]
    await b.catch_up(ids[3])                   # already sent on this link: nothing twice
    assert await b.silent()
    await b.ack(*[{"message_id": i} for i in ids[1:]])
    await asyncio.sleep(0.05)

    b = await client.user("lina")
    await b.catch_up("")
    assert await b.silent()


async def test_catch_up_sends_arrays_of_at_most_100(client):
    a = await client.user("zhangwei")
    for i in range(230):
        await a.send({"type": "BBC", "sid": "s%d" % i, "group": False, "to": ["wangfang"],
                      "data": {"content": str(i)}})
    for _ in range(230):
        assert (await a.recv())["type"] == "SSS"
    b = await client.user("wangfang")
    await b.catch_up()
    sizes, contents = [], []
    for _ in range(3):
        batch = await b.recv()
        sizes.append(len(batch))
        contents += [f["data"]["content"] for f in batch]
    assert sizes == [100, 100, 30]
    assert contents == [str(i) for i in range(230)]


async def test_group_fan_out_keeps_to_and_reaches_members_only(client):
    sender = await client.user("zhangwei")
    members = {name: await client.user(name) for name in ("lina", "wangfang", "liuyang")}
    outsider = await client.user("chenjing")
    ack = await sender.chat(["100001"], "大家好", "g1", group=True)
    for name, sock in members.items():
        frame = await sock.recv()
        assert (frame["to"], frame["group"], frame["from"]) == (["100001"], True, "zhangwei")
        assert frame["message_id"] == ack["message_id"]
    assert await outsider.silent()
    stored = (await client.admin("GET", "messages"))[-1]
    assert sorted(d["username"] for d in stored["deliveries"]) == ["lina", "liuyang", "wangfang"]


async def test_customer_service_assigns_agents_in_turn(client):
    agents = {name: await client.user(name) for name in ("10000@agent1", "10000@agent2")}
    users = {name: await client.user(name) for name in ("lina", "wangfang")}
    assigned = {}
    for name, sock in users.items():
        ack = await sock.chat(["10000"], "在吗", "cs-" + name)
        bbk = await sock.recv()
        assert (bbk["type"], bbk["from"], bbk["to"]) == ("BBK", "10000", [name])
        agent = bbk["data"]["customer_service"]["username"]
        assert bbk["data"]["customer_service"]["nickname"] in ("客服小美", "客服小强")
        frame = await agents[agent].recv()
        assert (frame["from"], frame["data"]["content"]) == (name, "在吗")
        assert frame["message_id"] == ack["message_id"]
        assigned[name] = agent
    assert sorted(assigned.values()) == ["10000@agent1", "10000@agent2"]

    # The conversation stays with its agent, and the reply comes from the agent's name.
    await users["lina"].chat(["10000"], "还在吗", "cs-2")
    assert (await agents[assigned["lina"]].recv())["data"]["content"] == "还在吗"
    await agents[assigned["lina"]].chat(["lina"], "您好", "r1")
    reply = await users["lina"].recv()
    assert (reply["from"], reply["data"]["content"]) == (assigned["lina"], "您好")


async def test_customer_service_busy_without_agents(client):
    user = await client.user("lina")
    await user.chat(["10000"], "有人吗", "cs")
    busy = await user.recv()
    assert (busy["type"], busy["from"]) == ("BBJ", "10000")


@pytest.mark.parametrize("mode", ["clean", "abort"])
async def test_admin_close_modes(client, mode):
    sock = await client.user("lina")
    await client.admin("POST", "close", {"username": "lina", "mode": mode})
    msg = await asyncio.wait_for(sock.ws.receive(), 2)
    if mode == "clean":
        assert msg.type == aiohttp.WSMsgType.CLOSE and msg.data == 1000
    else:
        assert msg.type in (aiohttp.WSMsgType.CLOSED, aiohttp.WSMsgType.ERROR)
    await asyncio.sleep(0.05)
    assert (await client.admin("GET", "connections"))["connections"] == []


async def test_held_acknowledgements_are_released_later(client):
    a = await client.user("zhangwei")
    b = await client.user("lina")
    await client.admin("POST", "hold_sss", {"on": True})
    await a.send({"type": "BBC", "sid": "held", "group": False, "to": ["lina"],
                  "data": {"content": "x"}})
    assert (await b.recv())["data"]["content"] == "x"
    assert await a.silent()
    await client.admin("POST", "hold_sss", {"on": False})
    assert (await a.recv())["sid"] == "held"


async def test_pushed_frames_are_queued_like_messages(client):
    pushed = await client.admin("POST", "push", {"to": "lina", "type": "ZZN",
                                                  "data": {"url": "http://n", "notice": {"id": 7}}})
    assert pushed["sent"] == 0
    sock = await client.user("lina")
    await sock.catch_up()
    (frame,) = await sock.recv()
    assert (frame["type"], frame["from"], frame["data"]["notice"]["id"]) == ("ZZN", "kavora", 7)


async def test_refusing_connections_for_a_while(client):
    await client.admin("POST", "refuse", {"seconds": 0.3})
    with pytest.raises(aiohttp.ClientConnectorError):
        await client.user("lina")
    await asyncio.sleep(0.4)
    await client.user("lina")


async def test_pings_are_answered(client):
    sock = await client.user("lina")
    await sock.ws.ping(b"")
    await sock.send({"type": "QQQ", "data": {"message_id": ""}})
    # The pong is consumed by the client; the link stays usable.
    assert await sock.silent(0.1)
    await sock.chat(["lina"], "self", "self")


@pytest.mark.parametrize("text", [
    "not json", "7", "[1, \"x\", null]", "{}", '{"type": "BBC"}',
    '{"type": "BBC", "to": "lina", "data": {}}', '{"type": "BBC", "to": [5, ""], "sid": 3}',
    '{"type": "RRR", "data": ["x", null, {}]}', '{"type": "QQQ", "data": {"message_id": "abc"}}',
    '{"type": "QQQ", "data": 5}', '{"type": "ZZZ"}',
])
async def test_malformed_frames_are_ignored(client, text):
    sock = await client.user("zhangwei")
    await sock.ws.send_str(text)
    await sock.ws.send_bytes(b"\x00\x01")
    await sock.chat(["lina"], "still fine", "ok")
