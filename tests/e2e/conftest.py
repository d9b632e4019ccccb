# SPDX-License-Identifier: MIT
import os
import shutil
import subprocess
import sys
import tempfile

import pytest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from consolehost import SOURCE_DIR, ConsoleHost, Server  # noqa: E402


@pytest.fixture(scope="session")
def server():
    """The CTest fixture's server, or one of our own when run by hand."""
    fixture = os.environ.get("KVMESS_FIXTURE_DIR")
    if fixture and os.path.exists(os.path.join(fixture, "env")):
        yield Server(fixture)
        return
    server_dir = os.environ.get("KVMESS_SERVER_DIR", os.path.join(SOURCE_DIR, "server"))
    folder = tempfile.mkdtemp(prefix="kvmess-e2e-")
    script = os.path.join(server_dir, "fixture.sh")
    subprocess.run(["bash", script, "start", folder], check=True)
    try:
        yield Server(folder)
    finally:
        subprocess.run(["bash", script, "stop", folder])
        shutil.rmtree(folder, ignore_errors=True)


@pytest.fixture(scope="session")
def console():
    path = os.environ.get("KVMESS_CONSOLE") or os.path.join(SOURCE_DIR, "build", "apps", "console", "kvmess-console")
    if not os.access(path, os.X_OK):
        pytest.fail("no console host at %s (set KVMESS_CONSOLE)" % path)
    return path


@pytest.fixture
def admin(server):
    return server.admin


@pytest.fixture
def hosts(console, server, tmp_path):
    """hosts(name, *options) starts a console host with a profile of its own."""
    started = []

    def start(name, *options):
        host = ConsoleHost(console, str(tmp_path / name), server.host_env(), options, name=name)
        started.append(host)
        return host

    yield start
    for host in started:
        host.close()


@pytest.fixture
def signed_in(hosts):
    """signed_in(account, *options): a host signed in as that account."""

    def start(account, *options):
        host = hosts(account["username"], *options)
        host.ok("login password %s %s" % (account["username"], account["password"]))
        return host

    return start
