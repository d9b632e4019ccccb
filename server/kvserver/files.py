# SPDX-License-Identifier: MIT
"""The file service: block uploads by MD5 at /message/file/fsfa and /message/file/fsf,
and plain downloads of complete files."""
import hashlib
import os
import re
import secrets
import shutil
import sqlite3
import uuid

from aiohttp import web

from .core import ApiError, envelope, read_multipart

MD5 = re.compile(r"^[0-9a-fA-F]{32}$")
MAX_BLOCK = 5242880
MAX_BLOCKS = 100000


def _int(fields, key, minimum=0):
    try:
        value = int(fields.get(key, "").strip())
    except ValueError:
        raise ApiError(400, "参数 %s 无效" % key)
    if value < minimum:
        raise ApiError(400, "参数 %s 无效" % key)
    return value


class FileService:
    def __init__(self, ctx):
        self.ctx = ctx

    @property
    def store(self):
        return self.ctx.store

    def routes(self):
        return [
            web.post("/message/file/fsfa", self.check),
            web.post("/message/file/fsf", self.block),
            web.get("/message/file/get/{key}/{name}", self.download),
        ]

    def auth_user(self, request):
        name = self.store.token_user(request.headers.get("auth", ""))
        if name is None:
            raise ApiError(401, "登录已失效，请重新登录")
        return name

    def file_data(self, row):
        return {"id": row["id"], "title": row["title"], "md5": row["md5"], "size": row["size"],
                "src": self.src(row)}

    def src(self, row):
        name = "file" + ("." + row["extension"] if row["extension"] else "")
        return "%smessage/file/get/%s/%s" % (self.ctx.file_base, row["key"], name)

    def block_dir(self, md5):
        return os.path.join(self.ctx.blocks_dir, md5.lower())

    def held_blocks(self, md5):
        """Block numbers held for an unfinished upload."""
        folder = self.block_dir(md5)
        if not os.path.isdir(folder):
            return set()
        return {int(n) for n in os.listdir(folder) if n.isdigit()}

    def last_held(self, md5):
        held, last = self.held_blocks(md5), -1
        while last + 1 in held:
            last += 1
        return last

    def _md5_field(self, fields):
        md5 = fields.get("md5", "").strip()
        if not MD5.match(md5):
            raise ApiError(400, "md5 无效")
        return md5.lower()

    async def check(self, request):
        self.auth_user(request)
        fields = await read_multipart(request)
        md5 = self._md5_field(fields)
        row = self.store.file_by_md5(md5)
        if row is not None:
            return envelope(self.ctx, data=self.file_data(row))
        last = self.last_held(md5)
        if last >= 0:
            return envelope(self.ctx, data={"index": last})
        return envelope(self.ctx, data={})

    async def block(self, request):
        user = self.auth_user(request)
        fields = await read_multipart(request)
        md5 = self._md5_field(fields)
        index = _int(fields, "index")
        count = _int(fields, "count", 1)
        total = _int(fields, "total")
        block = _int(fields, "block", 1)
        data = fields.get("file")
        title = fields.get("title", "") or (fields.get("file.filename") or "")
        extension = fields.get("extension", "")
        if data is None:
            raise ApiError(400, "缺少文件分块")
        if index >= count or count > MAX_BLOCKS or block > MAX_BLOCK or len(data) > block:
            raise ApiError(400, "分块参数无效")
        if self.ctx.fail_block is not None and self.ctx.fail_block == index:
            self.ctx.fail_block = None
            raise ApiError(500, "分块 %d 上传失败" % index, http_status=500)
        done = self.store.file_by_md5(md5)
        if done is not None:
            return envelope(self.ctx, data=self.file_data(done))
        folder = self.block_dir(md5)
        os.makedirs(folder, exist_ok=True)
        tmp = os.path.join(folder, "%d.part" % index)
        with open(tmp, "wb") as f:
            f.write(data)
        os.replace(tmp, os.path.join(folder, str(index)))
        if index != count - 1:
            return envelope(self.ctx, data={"index": self.last_held(md5)})
        return self.assemble(md5, count, total, title, extension, user)

    def assemble(self, md5, count, total, title, extension, user):
        folder = self.block_dir(md5)
        missing = [i for i in range(count) if not os.path.exists(os.path.join(folder, str(i)))]
        if missing:
            raise ApiError(409, "缺少分块 %d" % missing[0])
        key = secrets.token_urlsafe(24)
        path = os.path.join(self.ctx.files_dir, key)
        digest, size = hashlib.md5(), 0
        with open(path, "wb") as out:
            for i in range(count):
                with open(os.path.join(folder, str(i)), "rb") as f:
                    while True:
                        chunk = f.read(1 << 20)
                        if not chunk:
                            break
                        digest.update(chunk)
                        size += len(chunk)
                        out.write(chunk)
        # Whatever the outcome, the blocks are spent: a mismatch starts afresh.
        shutil.rmtree(folder, ignore_errors=True)
        if digest.hexdigest() != md5 or (total and size != total):
            os.remove(path)
            raise ApiError(422, "文件校验失败，请重新上传")
        try:
            row = self.store.add_file(uuid.uuid4().hex, md5, title, extension, size, key, path, user)
        except sqlite3.IntegrityError:
            # Another upload of the same bytes finished first.
            os.remove(path)
            row = self.store.file_by_md5(md5)
        return envelope(self.ctx, data=self.file_data(row))

    async def download(self, request):
        row = self.store.file_by_key(request.match_info["key"])
        if row is None or not os.path.exists(row["path"]):
            raise web.HTTPNotFound()
        return web.FileResponse(row["path"], headers={"Content-Type": "application/octet-stream"})
