# SPDX-License-Identifier: MIT
"""The account service: sign-in paths under pro/, profile and friend paths under app/."""
import re
import secrets

from aiohttp import web

from .core import ApiError, envelope, read_json_body, read_multipart
from .messaging import SERVICE_USER, SYSTEM_USER, is_agent_name

VISITOR_NAME = re.compile(r"^visitor_[0-9a-f]{8}$")
PHONE = re.compile(r"^1\d{10}$")
PROFILE_EDIT = {"nickname": str, "sex": int, "hometown": str, "signature": str}
MAX_FACE_BYTES = 4 * 1024 * 1024


def _text(obj, key):
    value = obj.get(key, "")
    return value.strip() if isinstance(value, str) else str(value)


class AccountService:
    def __init__(self, ctx):
        self.ctx = ctx

    @property
    def store(self):
        return self.ctx.store

    def routes(self):
        return [
            web.post("/pro/login/login", self.login_password),
            web.post("/pro/sms/index", self.sms_send),
            web.post("/pro/sms/verify", self.login_sms),
            web.post("/pro/api/scan", self.login_scan),
            web.post("/pro/login/visitor", self.login_visitor),
            web.post("/pro/user/auth", self.login_token),
            web.get("/app/user/profile", self.profile_get),
            web.put("/app/user/profile", self.profile_put),
            web.post("/app/upload/face", self.face_upload),
            web.put("/app/user/face", self.face_put),
            web.post("/app/friend/add", self.friend_add),
            web.delete("/app/friend/add", self.friend_refuse),
            web.post("/app/friend/mate", self.friend_agree),
            web.delete("/app/friend/mate", self.friend_remove),
            web.get("/app/friend/mate", self.friend_list),
            web.put("/app/friend/mate", self.friend_one),
            web.post("/app/user/info", self.user_info),
            web.post("/pro/friend/gr", self.enterprise_list),
            web.get("/face/{key}.png", self.face_get),
        ]

    # helpers ----------------------------------------------------------------
    def auth_user(self, request, body=None):
        """The account of the `auth` header (or, failing that, of the body's `auth`)."""
        token = request.headers.get("auth", "")
        if not token and body:
            token = _text(body, "auth")
        name = self.store.token_user(token)
        acc = self.store.account(name) if name else None
        if acc is None:
            raise ApiError(401, "登录已失效，请重新登录")
        return acc

    def sign_in_reply(self, acc):
        token, session_id = self.store.issue_token(acc["username"])
        platforms = ["pc-pro"] + [p for p in self.ctx.hub.platforms(acc["username"]) if p != "pc-pro"]
        data = {
            "token": token,
            "session_id": session_id,
            "used": 1,
            "customer_service": acc["kind"] == "agent",
            "platform": platforms,
            "userData": {
                "username": acc["username"],
                "password": "",
                "mail_password": acc["mail_password"],
                "phone": acc["phone"] or "",
                "nickname": acc["nickname"],
                "unionid": acc["unionid"],
            },
            "pro_auth": {"level": "pro" if acc["member"] else "basic", "member": acc["member"]},
        }
        return envelope(self.ctx, data=data)

    def profile_data(self, acc):
        data = {"user": self.ctx.profile(acc), "member": acc["member"]}
        if acc["member"]:
            data["member_time"] = acc["member_time"]
        return data

    # sign-in ------------------------------------------------------------------
    async def login_password(self, request):
        body = await read_json_body(self.ctx, request)
        name, password = _text(body, "username"), body.get("password", "")
        acc = self.store.account(name) or (self.store.account_by_phone(name) if name else None)
        if acc is None or acc["kind"] == "visitor" or not password or acc["password"] != password:
            raise ApiError(403, "用户名或密码错误")
        return self.sign_in_reply(acc)

    async def sms_send(self, request):
        body = await read_json_body(self.ctx, request)
        phone = _text(body, "mobile")
        if not PHONE.match(phone):
            raise ApiError(400, "手机号格式不正确")
        if self.store.account_by_phone(phone) is None:
            raise ApiError(404, "该手机号未注册")
        code = "%06d" % secrets.randbelow(1000000)
        self.store.set_sms_code(phone, code)
        return envelope(self.ctx, msg="验证码已发送", data={"mobile": phone})

    async def login_sms(self, request):
        body = await read_json_body(self.ctx, request)
        phone, code = _text(body, "mobile"), _text(body, "code")
        issued = self.store.sms_code(phone)
        acc = self.store.account_by_phone(phone)
        if issued is None or acc is None or not code or issued["code"] != code:
            raise ApiError(403, "验证码错误")
        self.store.drop_sms_code(phone)
        return self.sign_in_reply(acc)

    async def login_scan(self, request):
        body = await read_json_body(self.ctx, request)
        scene = _text(body, "scene")
        name = self.store.take_scene(scene) if scene else None
        acc = self.store.account(name) if name else None
        if acc is None:
            raise ApiError(403, "二维码无效或已过期")
        return self.sign_in_reply(acc)

    async def login_visitor(self, request):
        body = await read_json_body(self.ctx, request)
        name = _text(body, "username")
        acc = self.store.account(name) if name else None
        if acc is None or acc["kind"] != "visitor":
            if not (name and acc is None and VISITOR_NAME.match(name)):
                name = self._new_visitor_name()
            acc = self.store.create_account(name, nickname="游客", kind="visitor")
        return self.sign_in_reply(acc)

    def _new_visitor_name(self):
        while True:
            name = "visitor_" + secrets.token_hex(4)
            if self.store.account(name) is None:
                return name

    async def login_token(self, request):
        body = await read_json_body(self.ctx, request, required=False)
        token = request.headers.get("auth", "") or _text(body, "token") or _text(body, "auth")
        name = self.store.token_user(token)
        acc = self.store.account(name) if name else None
        if acc is None:
            raise ApiError(401, "登录已失效，请重新登录")
        return self.sign_in_reply(acc)

    # profile ------------------------------------------------------------------
    async def profile_get(self, request):
        acc = self.auth_user(request)
        return envelope(self.ctx, data=self.profile_data(acc))

    async def profile_put(self, request):
        body = await read_json_body(self.ctx, request)
        acc = self.auth_user(request, body)
        changes = {}
        for key, kind in PROFILE_EDIT.items():
            if key not in body:
                continue
            value = body[key]
            if kind is int:
                if isinstance(value, bool) or not isinstance(value, (int, float)):
                    raise ApiError(400, "性别格式错误")
                value = int(value)
            elif not isinstance(value, str):
                raise ApiError(400, "资料格式错误")
            changes[key] = value
        self.store.update_account(acc["username"], **changes)
        return envelope(self.ctx, data=self.profile_data(self.store.account(acc["username"])))

    async def face_upload(self, request):
        self.auth_user(request)
        fields = await read_multipart(request)
        data = fields.get("face")
        if data is None:
            raise ApiError(400, "缺少头像文件")
        if len(data) > MAX_FACE_BYTES:
            raise ApiError(413, "头像文件过大")
        key = self.store.put_face(data, "image/png")
        return envelope(self.ctx, data={"face": self.ctx.face_url(key)})

    async def face_put(self, request):
        body = await read_json_body(self.ctx, request)
        acc = self.auth_user(request, body)
        url = _text(body, "face")
        prefix = self.ctx.account_base + "face/"
        key = url[len(prefix):-len(".png")] if url.startswith(prefix) and url.endswith(".png") else ""
        if not key or self.store.face(key) is None:
            raise ApiError(400, "头像地址无效")
        self.store.update_account(acc["username"], face=key)
        return envelope(self.ctx, data={"face": url})

    async def face_get(self, request):
        row = self.store.face(request.match_info["key"])
        if row is None:
            raise web.HTTPNotFound()
        return web.Response(body=row["bytes"], content_type=row["content_type"])

    # friends ------------------------------------------------------------------
    async def friend_add(self, request):
        body = await read_json_body(self.ctx, request)
        acc = self.auth_user(request, body)
        phone = _text(body, "phone")
        other = self.store.account_by_phone(phone) if phone else None
        if other is None or other["kind"] != "user":
            raise ApiError(404, "该用户不存在")
        if other["username"] == acc["username"]:
            raise ApiError(400, "不能添加自己为好友")
        if self.store.are_friends(acc["username"], other["username"]):
            raise ApiError(409, "你们已经是好友关系")
        self.store.add_request(acc["username"], other["username"])
        await self.ctx.hub.friend_event("ZZA", other["username"], acc["username"])
        return envelope(self.ctx, data={"username": other["username"]})

    async def friend_agree(self, request):
        body = await read_json_body(self.ctx, request)
        acc = self.auth_user(request, body)
        other = _text(body, "username")
        if self.store.are_friends(acc["username"], other):
            raise ApiError(409, "你们已经是好友关系")
        if not self.store.take_request(other, acc["username"]):
            raise ApiError(404, "没有该好友请求")
        self.store.take_request(acc["username"], other)
        self.store.add_friendship(acc["username"], other)
        await self.ctx.hub.friend_event("ZZB", other, acc["username"])
        return envelope(self.ctx, data={"user": self.ctx.profile(self.store.account(other))})

    async def friend_refuse(self, request):
        body = await read_json_body(self.ctx, request)
        acc = self.auth_user(request, body)
        other = _text(body, "username")
        if not self.store.take_request(other, acc["username"]):
            raise ApiError(404, "没有该好友请求")
        await self.ctx.hub.friend_event("ZZC", other, acc["username"])
        return envelope(self.ctx, data={"username": other})

    async def friend_remove(self, request):
        body = await read_json_body(self.ctx, request)
        acc = self.auth_user(request, body)
        other = _text(body, "username")
        if not self.store.remove_friendship(acc["username"], other):
            raise ApiError(404, "你们不是好友关系")
        await self.ctx.hub.friend_event("ZZD", other, acc["username"])
        return envelope(self.ctx, data={"username": other})

    async def friend_list(self, request):
        acc = self.auth_user(request)
        mates = [self.ctx.profile(f) for f in self.store.friends_of(acc["username"])
                 if f["username"] != SYSTEM_USER]
        return envelope(self.ctx, data={"version": request.query.get("version", ""), "mates": mates})

    def _one_profile(self, name):
        other = self.store.account(name) if name else None
        if other is None:
            raise ApiError(404, "该用户不存在")
        return envelope(self.ctx, data={"user": self.ctx.profile(other)})

    async def friend_one(self, request):
        body = await read_json_body(self.ctx, request)
        self.auth_user(request, body)
        return self._one_profile(_text(body, "username"))

    async def user_info(self, request):
        body = await read_json_body(self.ctx, request)
        self.auth_user(request, body)
        name = _text(body, "username")
        if not (is_agent_name(name) or name == SERVICE_USER):
            raise ApiError(404, "不是客服账号")
        if name == SERVICE_USER:
            return envelope(self.ctx, data={"user": {
                "username": SERVICE_USER, "phone": "", "nickname": "在线客服", "sex": 0,
                "hometown": "", "location": "", "signature": "", "face": ""}})
        return self._one_profile(name)

    async def enterprise_list(self, request):
        body = await read_json_body(self.ctx, request, required=False)
        acc = self.auth_user(request, body)
        company = []
        for ent in self.store.enterprises_of(acc["username"]):
            company.append({
                "group_id": ent["id"],
                "title": ent["title"],
                "face": self.ctx.face_url(ent["face"]),
                "users": [self.ctx.profile(m) for m in self.store.members(ent["id"])],
            })
        return envelope(self.ctx, data={"company": company})
