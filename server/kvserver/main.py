# SPDX-License-Identifier: MIT
"""Starts the account service, the file service and the message server in one process."""
import argparse
import asyncio
import json
import logging
import os
import signal
import sys

from aiohttp import web

from .account import AccountService
from .admin import AdminApi
from .cipher import Cipher, CipherError
from .core import DEFAULT_SEED, Context, make_error_middleware
from .files import FileService

log = logging.getLogger("kvmess")

MAX_BODY = 64 * 1024 * 1024


def build_apps(ctx):
    """The three aiohttp applications over one shared context."""
    admin = AdminApi(ctx)
    account_app = web.Application(client_max_size=MAX_BODY,
                                  middlewares=[admin.middleware,
                                               make_error_middleware(ctx, "account")])
    account_app.add_routes(AccountService(ctx).routes())
    account_app.add_routes(admin.routes())

    file_app = web.Application(client_max_size=MAX_BODY,
                               middlewares=[make_error_middleware(ctx, "file")])
    file_app.add_routes(FileService(ctx).routes())

    message_app = web.Application()
    message_app.add_routes([web.get("/wsmessage", ctx.hub.handle)])
    return account_app, file_app, message_app


class Listener:
    """A listening socket for one service, which can stop accepting for a while."""

    def __init__(self, runner, host, port):
        self.runner = runner
        self.host = host
        self.port = port
        self.server = None
        self._reopen = None

    async def start(self):
        loop = asyncio.get_running_loop()
        self.server = await loop.create_server(self.runner.server, self.host, self.port,
                                               reuse_address=True)
        self.port = self.server.sockets[0].getsockname()[1]

    async def pause(self, seconds):
        if self._reopen is not None:
            self._reopen.cancel()
        if self.server is not None:
            self.server.close()
            self.server = None
        self._reopen = asyncio.get_running_loop().call_later(
            max(0.0, seconds), lambda: asyncio.ensure_future(self._resume()))

    async def _resume(self):
        self._reopen = None
        if self.server is None:
            try:
                await self.start()
            except OSError:
                log.exception("could not listen again on %s:%d", self.host, self.port)

    async def stop(self):
        if self._reopen is not None:
            self._reopen.cancel()
        if self.server is not None:
            self.server.close()
            self.server = None


class ServerProcess:
    def __init__(self, ctx, host, account_port, message_port, file_host, file_port):
        self.ctx = ctx
        self.host = host
        self.file_host = file_host
        self.ports = {"account": account_port, "message": message_port, "file": file_port}
        self.runners = {}
        self.listeners = {}

    async def start(self):
        apps = dict(zip(("account", "file", "message"), build_apps(self.ctx)))
        for name, app in apps.items():
            runner = web.AppRunner(app, access_log=None)
            await runner.setup()
            self.runners[name] = runner
            host = self.file_host if name == "file" else self.host
            listener = Listener(runner, host, self.ports[name])
            await listener.start()
            self.listeners[name] = listener
        self.ctx.hub.listener = self.listeners["message"]
        self.ctx.account_base = "http://%s:%d/" % (self.host, self.listeners["account"].port)
        self.ctx.file_base = "http://%s:%d/" % (self.file_host, self.listeners["file"].port)

    def info(self):
        return {
            "account_url": self.ctx.account_base,
            "message_host": "%s:%d" % (self.host, self.listeners["message"].port),
            "file_host": self.file_host,
            "file_port": self.listeners["file"].port,
            "admin_url": self.ctx.account_base + "admin/",
            "pid": os.getpid(),
        }

    async def stop(self):
        for listener in self.listeners.values():
            await listener.stop()
        await self.ctx.hub.close_all()
        for runner in self.runners.values():
            await runner.shutdown()
            if runner.server is not None:
                await runner.server.shutdown(1.0)
            await runner.cleanup()
        self.ctx.close()


def _port(value, env, default):
    if value is not None:
        return value
    text = os.environ.get(env, "")
    return int(text) if text.strip() else default


def parse_args(argv):
    p = argparse.ArgumentParser(description="KvMess reference server")
    p.add_argument("--data", required=True, help="data folder (created if missing)")
    p.add_argument("--seed", default=DEFAULT_SEED, help="seed JSON applied to a fresh database")
    p.add_argument("--host", default="127.0.0.1")
    p.add_argument("--account-port", type=int)
    p.add_argument("--message-port", type=int)
    p.add_argument("--file-port", type=int)
    p.add_argument("--file-host", default="127.0.0.1")
    p.add_argument("--ready-file")
    p.add_argument("--verbose", action="store_true")
    args = p.parse_args(argv)
    args.account_port = _port(args.account_port, "KVMESS_ACCOUNT_PORT", 30080)
    args.message_port = _port(args.message_port, "KVMESS_MESSAGE_PORT", 30082)
    args.file_port = _port(args.file_port, "KVMESS_FILE_PORT", 30081)
    return args


def write_ready_file(path, info):
    tmp = path + ".tmp%d" % os.getpid()
    with open(tmp, "w", encoding="utf-8") as f:
        json.dump(info, f)
    os.replace(tmp, path)


async def serve(args):
    ctx = Context(args.data, args.seed or None, Cipher())
    proc = ServerProcess(ctx, args.host, args.account_port, args.message_port,
                         args.file_host, args.file_port)
    try:
        await proc.start()
    except OSError as e:
        print("kvmess-server: cannot listen: %s" % e, file=sys.stderr, flush=True)
        await proc.stop()
        return 3
    # Handlers first: whoever reads the ready file may stop the server at once.
    stop = asyncio.Event()
    loop = asyncio.get_running_loop()
    for sig in (signal.SIGTERM, signal.SIGINT):
        loop.add_signal_handler(sig, stop.set)
    info = proc.info()
    if args.ready_file:
        write_ready_file(args.ready_file, info)
    print("kvmess-server ready account=%s message=%s file=%s:%d" % (
        info["account_url"], info["message_host"], info["file_host"], info["file_port"]),
        flush=True)
    await stop.wait()
    await proc.stop()
    return 0


def main(argv=None):
    args = parse_args(sys.argv[1:] if argv is None else argv)
    logging.basicConfig(level=logging.INFO if args.verbose else logging.WARNING,
                        format="%(asctime)s %(name)s %(levelname)s %(message)s")
    try:
        return asyncio.run(serve(args))
    except CipherError as e:
        print("kvmess-server: %s" % e, file=sys.stderr)
        return 2
