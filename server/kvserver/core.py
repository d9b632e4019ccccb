# SPDX-License-Identifier: MIT
"""Shared state of the three services and the helpers of the HTTP envelope."""
import collections
import json
import logging
import os
import shutil
import time

from aiohttp import web

from .cipher import Cipher, CipherError
from .messaging import AGENT_PREFIX, MessageHub
from .png import face_png
from .store import Store

log = logging.getLogger("kvmess")

HERE = os.path.dirname(os.path.abspath(__file__))
DEFAULT_SEED = os.path.join(os.path.dirname(HERE), "seed", "demo.json")
REQUEST_LOG_SIZE = 200


class ApiError(Exception):
    """A failure answered in the reply envelope with a non-200 code."""

    def __init__(self, code, msg, http_status=200):
        super().__init__(msg)
        self.code = code
        self.msg = msg
        self.http_status = http_status


class Context:
    def __init__(self, data_dir, seed_path=DEFAULT_SEED, cipher=None):
        self.data_dir = os.path.abspath(data_dir)
        os.makedirs(self.data_dir, exist_ok=True)
        self.blocks_dir = os.path.join(self.data_dir, "blocks")
        self.files_dir = os.path.join(self.data_dir, "files")
        os.makedirs(self.blocks_dir, exist_ok=True)
        os.makedirs(self.files_dir, exist_ok=True)
        self.seed_path = seed_path
        self.cipher = cipher or Cipher()
        self.store = Store(os.path.join(self.data_dir, "kvmess.db"))
        self.hub = MessageHub(self)
        self.account_base = "http://127.0.0.1:30080/"
        self.file_base = "http://127.0.0.1:30081/"
        self.requests = collections.deque(maxlen=REQUEST_LOG_SIZE)
        self.request_seq = 0
        self.fail_block = None
        self.sms_seq = 0
        if self.store.is_empty() and seed_path:
            self.load_seed(seed_path)

    def close(self):
        self.store.close()

    # seed -------------------------------------------------------------------
    def load_seed(self, path):
        with open(path, encoding="utf-8") as f:
            seed = json.load(f)
        seed_dir = os.path.dirname(os.path.abspath(path))
        for acc in seed.get("accounts", []):
            self.create_account(acc, seed_dir=seed_dir)
        for acc in seed.get("agents", []):
            acc = dict(acc)
            if not acc["username"].startswith(AGENT_PREFIX):
                raise ValueError("agent names start with " + AGENT_PREFIX)
            acc.setdefault("kind", "agent")
            self.create_account(acc, seed_dir=seed_dir)
        for a, b in seed.get("friendships", []):
            self.store.add_friendship(a, b)
        for req in seed.get("friend_requests", []):
            self.store.add_request(req["from"], req["to"])
        for ent in seed.get("enterprises", []):
            self.create_enterprise(ent, seed_dir=seed_dir)

    def _face_key(self, face, seed_text, seed_dir=None):
        """face: None (generated), a colour "#rrggbb", or a PNG file path."""
        if face and isinstance(face, str) and not face.startswith("#"):
            with open(os.path.join(seed_dir or ".", face), "rb") as f:
                return self.store.put_face(f.read())
        return self.store.put_face(face_png(seed_text, face or None))

    def create_account(self, acc, seed_dir=None):
        fields = {k: acc[k] for k in ("password", "phone", "nickname", "sex", "hometown",
                                      "location", "signature", "kind", "member", "member_time",
                                      "mail_password", "unionid") if k in acc}
        if acc.get("face") is False:
            fields["face"] = ""
        else:
            fields["face"] = self._face_key(acc.get("face"), acc["username"], seed_dir)
        return self.store.create_account(acc["username"], **fields)

    def create_enterprise(self, ent, seed_dir=None):
        face = self._face_key(ent.get("face"), "enterprise:" + ent["id"], seed_dir)
        self.store.create_enterprise(ent["id"], ent["title"], ent.get("members", []), face)

    def reset(self):
        self.store.wipe()
        for folder in (self.blocks_dir, self.files_dir):
            shutil.rmtree(folder, ignore_errors=True)
            os.makedirs(folder, exist_ok=True)
        self.fail_block = None
        self.hub.reset()
        if self.seed_path:
            self.load_seed(self.seed_path)

    # views ------------------------------------------------------------------
    def face_url(self, key):
        return self.account_base + "face/" + key + ".png" if key else ""

    def profile(self, acc):
        out = {k: acc[k] if acc[k] is not None else "" for k in
               ("username", "phone", "nickname", "sex", "hometown", "location", "signature")}
        out["face"] = self.face_url(acc["face"])
        return out

    # request log --------------------------------------------------------------
    def log_request(self, service, request):
        self.request_seq += 1
        entry = {"seq": self.request_seq, "service": service, "time": time.time(),
                 "method": request.method, "path": request.path,
                 "query": dict(request.query),
                 "headers": [[k, v] for k, v in request.headers.items()],
                 "body": None, "body_error": None, "body_size": None, "parts": None}
        self.requests.append(entry)
        return entry


def envelope(ctx, code=200, msg="ok", data=None, http_status=200):
    body = ctx.cipher.encode_json({"code": code, "msg": msg,
                                   "data": data if data is not None else {}})
    return web.Response(body=body, status=http_status, content_type="application/octet-stream")


async def read_json_body(ctx, request, required=True):
    """Deciphers and parses the request body into a JSON object."""
    raw = await request.read()
    entry = request.get("log_entry")
    if entry is not None:
        entry["body_size"] = len(raw)
    if not raw:
        if required:
            if entry is not None:
                entry["body_error"] = "empty"
            raise ApiError(400, "请求体为空")
        return {}
    try:
        obj = ctx.cipher.decode_json(raw)
    except (CipherError, ValueError, UnicodeDecodeError) as e:
        if entry is not None:
            entry["body_error"] = str(e) or e.__class__.__name__
        raise ApiError(400, "请求无法解密")
    if entry is not None:
        entry["body"] = obj
    if not isinstance(obj, dict):
        raise ApiError(400, "请求格式错误")
    return obj


async def read_multipart(request, keep_bytes=("file", "face")):
    """Reads a multipart body; returns {name: value} and records the parts.

    Parts named in keep_bytes are kept as bytes, the others as text."""
    entry = request.get("log_entry")
    try:
        reader = await request.multipart()
    except Exception:
        raise ApiError(400, "请求不是 multipart")
    fields, parts = {}, []
    try:
        while True:
            part = await reader.next()
            if part is None:
                break
            data = await part.read(decode=False)
            name = part.name or ""
            info = {"headers": [[k, v] for k, v in part.headers.items()], "name": name,
                    "filename": part.filename, "size": len(data)}
            if name in keep_bytes:
                fields[name] = bytes(data)
                fields[name + ".filename"] = part.filename
                fields[name + ".headers"] = part.headers
            else:
                text = bytes(data).decode("utf-8", "replace")
                fields[name] = text
                info["text"] = text
            parts.append(info)
    except ApiError:
        raise
    except Exception:
        raise ApiError(400, "multipart 格式错误")
    finally:
        if entry is not None:
            entry["parts"] = parts
    return fields


def make_error_middleware(ctx, service):
    @web.middleware
    async def middleware(request, handler):
        if request.path.startswith("/admin"):
            return await handler(request)      # the admin API answers in plain JSON
        request["log_entry"] = ctx.log_request(service, request)
        try:
            return await handler(request)
        except ApiError as e:
            return envelope(ctx, e.code, e.msg, http_status=e.http_status)
        except web.HTTPException:
            raise
        except Exception:
            log.exception("%s %s failed", request.method, request.path)
            return envelope(ctx, 500, "服务器内部错误")
    return middleware
