# SPDX-License-Identifier: MIT
import asyncio
import json

import pytest

SIGN_IN_KEYS = {"token", "session_id", "used", "customer_service", "platform", "userData", "pro_auth"}


async def sign_in_by(client, path):
    """Signs zhangwei in by one of the paths; returns the reply."""
    stamp = {"platform": "PC-PRO", "client_id": "machine-1"}
    if path == "password":
        return await client.call("POST", "pro/login/login",
                                 {"username": "zhangwei", "password": "kv123456", **stamp})
    if path == "password-phone":
        return await client.call("POST", "pro/login/login",
                                 {"username": "13800000001", "password": "kv123456", **stamp})
    if path == "sms":
        sent = await client.call("POST", "pro/sms/index", {"mobile": "13800000001"})
        assert sent["code"] == 200
        code = (await client.admin("GET", "sms?phone=13800000001"))["code"]
        return await client.call("POST", "pro/sms/verify",
                                 {"mobile": "13800000001", "code": code, **stamp})
    if path == "scan":
        scene = (await client.admin("POST", "scan", {"username": "zhangwei"}))["scene"]
        return await client.call("POST", "pro/api/scan", {"scene": scene, **stamp})
    if path == "token":
        token = await client.login("zhangwei")
        return await client.call("POST", "pro/user/auth", stamp, token=token)
    raise AssertionError(path)


@pytest.mark.parametrize("path", ["password", "password-phone", "sms", "scan", "token"])
async def test_sign_in_paths_issue_a_working_token(client, path):
    first = await client.login("zhangwei")
    reply = await sign_in_by(client, path)
    assert reply["code"] == 200, reply
    data = reply["data"]
    assert SIGN_IN_KEYS <= set(data)
    assert data["userData"]["username"] == "zhangwei"
    assert data["userData"]["phone"] == "13800000001"
    assert data["customer_service"] is False
    assert "pc-pro" in data["platform"]
    assert data["token"] != first
    sock = await client.connect(data["token"])
    assert await sock.silent(0.1)


async def test_agent_sign_in_is_marked_customer_service(client):
    reply = await client.call("POST", "pro/login/login",
                              {"username": "10000@agent1", "password": "kv123456"})
    assert reply["data"]["customer_service"] is True


async def test_visitor_name_is_chosen_once_and_reused(client):
    first = await client.call("POST", "pro/login/visitor", {"platform": "PC-PRO", "client_id": "m"})
    name = first["data"]["userData"]["username"]
    assert name.startswith("visitor_")
    again = await client.call("POST", "pro/login/visitor", {"username": name, "client_id": "m"})
    assert again["data"]["userData"]["username"] == name
    assert again["data"]["token"] != first["data"]["token"]
    # A real account's name cannot be taken over through the visitor path.
    other = await client.call("POST", "pro/login/visitor", {"username": "zhangwei"})
    assert other["data"]["userData"]["username"].startswith("visitor_")
    await client.connect(again["data"]["token"])


@pytest.mark.parametrize("path,body", [
    ("pro/login/login", {"username": "zhangwei", "password": "wrong"}),
    ("pro/login/login", {"username": "nobody", "password": "kv123456"}),
    ("pro/login/login", {"username": "zhangwei"}),
    ("pro/sms/verify", {"mobile": "13800000001", "code": "000000"}),
    ("pro/sms/index", {"mobile": "12345"}),
    ("pro/sms/index", {"mobile": "13899999999"}),
    ("pro/api/scan", {"scene": "no-such-scene"}),
    ("pro/user/auth", {"token": "no-such-token"}),
])
async def test_wrong_credentials_are_refused(client, path, body):
    reply = await client.call("POST", path, body)
    assert reply["code"] != 200
    assert isinstance(reply["msg"], str) and reply["msg"]


async def test_sms_code_and_scan_scene_work_once(client):
    await client.call("POST", "pro/sms/index", {"mobile": "13800000002"})
    code = (await client.admin("GET", "sms?phone=13800000002"))["code"]
    body = {"mobile": "13800000002", "code": code}
    assert (await client.call("POST", "pro/sms/verify", body))["code"] == 200
    assert (await client.call("POST", "pro/sms/verify", body))["code"] != 200
    scene = (await client.admin("POST", "scan", {"username": "lina"}))["scene"]
    assert (await client.call("POST", "pro/api/scan", {"scene": scene}))["code"] == 200
    assert (await client.call("POST", "pro/api/scan", {"scene": scene}))["code"] != 200


def _tampered(cipher):
    data = bytearray(cipher.encrypt(b'{"username": "zhangwei", "password": "kv123456"}'))
    data[20] ^= 1
    return bytes(data)


@pytest.mark.parametrize("make", [
    lambda c: b"",
    lambda c: b"not enciphered at all",
    _tampered,
    lambda c: c.encrypt(b"{not json"),
    lambda c: c.encrypt(b'["a list"]'),
    lambda c: c.encrypt(b"\xff\xfe"),
])
@pytest.mark.parametrize("method,path", [("POST", "pro/login/login"), ("PUT", "app/user/profile")])
async def test_malformed_bodies_get_an_error_code(client, make, method, path):
    token = await client.login("zhangwei")
    reply = await client.call(method, path, raw=make(client.cipher), token=token)
    assert reply["code"] != 200
    assert (await client.call("GET", "app/user/profile", token=token))["code"] == 200


@pytest.mark.parametrize("method,path", [
    ("GET", "app/user/profile"), ("GET", "app/friend/mate?version=2"),
    ("POST", "pro/friend/gr"), ("POST", "app/friend/add"),
])
async def test_unknown_token_is_refused(client, method, path):
    body = None if method == "GET" else {"username": "lina", "phone": "13800000002"}
    reply = await client.call(method, path, body, token="bogus")
    assert reply["code"] == 401


async def test_profile_edit_and_face_change(client):
    token = await client.login("lina")
    profile = await client.call("GET", "app/user/profile", token=token)
    assert profile["data"]["user"]["nickname"] == "李娜"
    changed = await client.call("PUT", "app/user/profile",
                                {"nickname": "  娜娜", "sex": 1, "signature": "新签名"}, token=token)
    assert changed["code"] == 200
    user = changed["data"]["user"]
    assert (user["nickname"], user["sex"], user["signature"], user["hometown"]) == \
        ("  娜娜", 1, "新签名", "四川成都")
    assert (await client.call("PUT", "app/user/profile", {"sex": "x"}, token=token))["code"] != 200

    png = b"\x89PNG\r\n\x1a\nfake picture bytes"
    status, upload = await client.multipart("app/upload/face", [("face", png, "head.png")],
                                            token, base=client.base)
    assert upload["code"] == 200
    url = upload["data"]["face"]
    assert url.startswith(client.base)
    put = await client.call("PUT", "app/user/face", {"face": url}, token=token)
    assert put["code"] == 200
    profile = await client.call("GET", "app/user/profile", token=token)
    assert profile["data"]["user"]["face"] == url
    async with client.session.get(url) as resp:          # no token needed
        assert resp.status == 200 and await resp.read() == png
    bad = await client.call("PUT", "app/user/face", {"face": "http://elsewhere/x.png"}, token=token)
    assert bad["code"] != 200
    logged = await client.admin("GET", "requests?path=/app/upload/face")
    assert logged[-1]["parts"][0]["name"] == "face"
    assert logged[-1]["parts"][0]["filename"] == "head.png"


async def test_lists_and_single_profiles(client):
    token = await client.login("zhangwei")
    mates = await client.call("GET", "app/friend/mate?version=2", token=token)
    names = [m["username"] for m in mates["data"]["mates"]]
    assert sorted(names) == ["lina", "liuyang", "wangfang"]
    face = mates["data"]["mates"][0]["face"]
    async with client.session.get(face) as resp:
        assert (await resp.read()).startswith(b"\x89PNG")

    groups = await client.call("POST", "pro/friend/gr", {"username": "zhangwei"}, token=token)
    company = {c["group_id"]: c for c in groups["data"]["company"]}
    assert set(company) == {"100001", "100002"}
    assert [u["username"] for u in company["100002"]["users"]] == ["zhangwei", "chenjing"]
    assert company["100001"]["title"] == "星图测绘有限公司"

    one = await client.call("PUT", "app/friend/mate", {"username": "lina"}, token=token)
    assert one["data"]["user"]["nickname"] == "李娜"
    agent = await client.call("POST", "app/user/info", {"username": "10000@agent2"}, token=token)
    assert agent["data"]["user"]["nickname"] == "客服小强"
    assert (await client.call("POST", "app/user/info", {"username": "lina"}, token=token))["code"] != 200


async def test_friend_events_travel_over_the_message_server(client):
    requester = await client.login("wangfang")
    addressee_sock = await client.user("chenjing")
    requester_sock = await client.connect(requester)
    chenjing = await client.login("chenjing")

    async def event(sock, mtype):
        frame = await sock.recv()
        assert frame["type"] == mtype, frame
        assert frame["to"] == [frame["to"][0]] and frame["message_id"]
        await sock.ack(frame)
        return frame["data"]["fromUser"]["username"]

    # request, then refusal
    assert (await client.call("POST", "app/friend/add", {"phone": "13800000005"}, token=requester))["code"] == 200
    assert await event(addressee_sock, "ZZA") == "wangfang"
    assert (await client.call("DELETE", "app/friend/add", {"username": "wangfang"}, token=chenjing))["code"] == 200
    assert await event(requester_sock, "ZZC") == "chenjing"
    assert (await client.call("POST", "app/friend/mate", {"username": "wangfang"}, token=chenjing))["code"] != 200

    # request again, then agreement, then removal
    await client.call("POST", "app/friend/add", {"phone": "13800000005"}, token=requester)
    await event(addressee_sock, "ZZA")
    assert (await client.call("POST", "app/friend/mate", {"username": "wangfang"}, token=chenjing))["code"] == 200
    assert await event(requester_sock, "ZZB") == "chenjing"
    mates = await client.call("GET", "app/friend/mate?version=2", token=requester)
    assert "chenjing" in [m["username"] for m in mates["data"]["mates"]]
    again = await client.call("POST", "app/friend/add", {"phone": "13800000005"}, token=requester)
    assert again["code"] != 200

    assert (await client.call("DELETE", "app/friend/mate", {"username": "chenjing"}, token=requester))["code"] == 200
    assert await event(addressee_sock, "ZZD") == "wangfang"
    mates = await client.call("GET", "app/friend/mate?version=2", token=chenjing)
    assert "wangfang" not in [m["username"] for m in mates["data"]["mates"]]
    assert await addressee_sock.silent() and await requester_sock.silent(0.05)


async def test_request_log_keeps_the_deciphered_body(client):
    await client.call("POST", "pro/login/login", {"username": "lina", "password": "x"})
    entry = (await client.admin("GET", "requests?n=1"))[0]
    assert entry["path"] == "/pro/login/login" and entry["method"] == "POST"
    assert entry["body"] == {"username": "lina", "password": "x"}
    assert ["platform", "PC-PRO"] in entry["headers"]
    assert json.dumps(entry)  # plain JSON throughout


@pytest.mark.parametrize("payload,status", [
    ("nonsense", 400), ('{"username": "lina"}', 409), ('{"password": "x"}', 400),
])
async def test_admin_errors_are_plain_json(client, payload, status):
    async with client.session.post(client.info["admin_url"] + "accounts", data=payload) as r:
        assert r.status == status
        assert "error" in await r.json()


async def test_admin_profile_change_reaches_the_lists(client):
    token = await client.login("zhangwei")
    changed = await client.admin("POST", "profile", {"username": "lina", "nickname": "新名字", "face": False})
    assert changed["nickname"] == "新名字" and changed["face"] == ""
    mates = await client.call("GET", "app/friend/mate?version=2", token=token)
    lina = [m for m in mates["data"]["mates"] if m["username"] == "lina"][0]
    assert lina["nickname"] == "新名字" and lina["face"] == ""

    recoloured = await client.admin("POST", "profile", {"username": "lina", "face": "#102030"})
    async with client.session.get(recoloured["face"]) as resp:
        assert (await resp.read()).startswith(b"\x89PNG")
    async with client.session.post(client.info["admin_url"] + "profile",
                                   json={"username": "nobody", "nickname": "x"}) as r:
        assert r.status == 404


async def test_held_account_replies_wait_until_released(client):
    token = await client.login("lina")
    await client.admin("POST", "hold_account", {"on": True})
    pending = asyncio.ensure_future(client.call("GET", "app/user/profile", token=token))
    await asyncio.sleep(0.3)
    assert not pending.done()
    await client.admin("POST", "hold_account", {"on": False})
    assert (await asyncio.wait_for(pending, 5))["code"] == 200
