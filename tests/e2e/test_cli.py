# SPDX-License-Identifier: MIT
"""Bad input gets a clear error and a non-zero exit."""

import socket

import pytest

from consolehost import run_console


def closed_port():
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


@pytest.fixture(scope="module")
def account(server):
    return server.admin.create_account("cl")


CASES = {
    "unknown command": (["frobnicate"], 2, "unknown command \"frobnicate\""),
    "missing arguments": (["send", "text", "lina"], 2, "usage: send [--group] text TO TEXT..."),
    "unknown sub-command": (["login", "retina"], 2, "unknown \"login\" command \"retina\""),
    "wrong password": (["login", "password", "{user}", "not-the-password"], 1, "wrong user name or password"),
    "missing file": (["login", "password", "{user}", "{password}", ";", "send", "file", "{user}", "/no/such/file"],
                     1, "no such file: /no/such/file"),
    "not signed in": (["send", "text", "{user}", "hello"], 1, "not signed in"),
    "server down": (["login", "password", "{user}", "{password}"], 3, "cannot reach the account service"),
    "file service down": (["login", "password", "{user}", "{password}", ";", "send", "file", "{user}", "{file}"],
                          3, "cannot reach the file service at http://127.255.255.254:30081/"),
}


@pytest.mark.parametrize("case", list(CASES))
def test_bad_input(case, console, server, account, tmp_path):
    args, code, message = CASES[case]
    args = [a.format(user=account["username"], password=account["password"], file=__file__) for a in args]
    env = server.host_env()
    if case == "file service down":
        env["KVMESS_FILE_HOST"] = "127.255.255.254"
    if case == "server down":
        port = closed_port()
        env.update({"KVMESS_ACCOUNT_URL": "http://127.0.0.1:%d/" % port,
                    "KVMESS_MESSAGE_HOST": "127.0.0.1:%d" % port})
    exit_code, events, stderr = run_console(console, str(tmp_path / "p"), env, args)
    assert exit_code == code, stderr
    assert message in stderr
    results = [e for e in events if e["event"] == "result"]
    if results:
        assert results[-1]["ok"] is False and results[-1]["code"] == code


def test_input_goes_on_after_a_failure(console, server, account, tmp_path):
    lines = "frobnicate\nlogin password %s %s\nsend file %s /no/such/file\nwhoami\n" % (
        account["username"], account["password"], account["username"])
    exit_code, events, _ = run_console(console, str(tmp_path / "p"), server.host_env(), [], stdin=lines)
    results = [(e["command"], e["ok"]) for e in events if e["event"] == "result"]
    assert results == [("frobnicate", False), ("login password", True), ("send file", False), ("whoami", True)]
    assert exit_code == 2  # the first failure decides
