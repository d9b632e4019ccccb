# SPDX-License-Identifier: MIT
import json
import os
import signal
import subprocess
import time

HERE = os.path.dirname(os.path.abspath(__file__))
FIXTURE = os.path.join(os.path.dirname(HERE), "fixture.sh")


def test_fixture_starts_and_stops_cleanly(tmp_path):
    folder = tmp_path / "fx"
    subprocess.run([FIXTURE, "start", str(folder)], check=True, timeout=15)
    try:
        env = dict(line.split("=", 1) for line in (folder / "env").read_text().splitlines())
        ready = json.loads((folder / "ready.json").read_text())
        assert env["KVMESS_ACCOUNT_URL"] == ready["account_url"]
        assert env["KVMESS_ADMIN_URL"] == ready["account_url"] + "admin/"
        assert env["KVMESS_FILE_HOST"] == ready["file_host"] != "127.0.0.1"
        assert ready["file_port"] == 30081
        log = (folder / "server.log").read_text()
        assert log.count("ready") == 1
    finally:
        subprocess.run([FIXTURE, "stop", str(folder)], check=True, timeout=15)
    assert not _alive(ready["pid"])
    subprocess.run([FIXTURE, "stop", str(folder)], check=True, timeout=15)   # already gone


def _alive(pid):
    try:
        with open("/proc/%d/status" % pid) as f:
            return "\nState:\tZ" not in f.read()
    except FileNotFoundError:
        return False


def test_sigterm_exits_with_status_zero(tmp_path):
    ready = tmp_path / "ready.json"
    proc = subprocess.Popen(
        ["/usr/bin/python3", os.path.join(os.path.dirname(HERE), "run_server.py"),
         "--data", str(tmp_path / "data"), "--ready-file", str(ready), "--account-port", "0",
         "--message-port", "0", "--file-port", "0"],
        stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    try:
        deadline = time.monotonic() + 10
        while not ready.exists() and time.monotonic() < deadline and proc.poll() is None:
            time.sleep(0.02)
        assert ready.exists(), proc.stderr.read()
        proc.send_signal(signal.SIGTERM)
        out, _ = proc.communicate(timeout=10)
        assert proc.returncode == 0
        assert out.decode().count("\n") == 1
    finally:
        if proc.poll() is None:
            proc.kill()
