# SPDX-License-Identifier: MIT
import hashlib
import os

import pytest

BLOCK = 1024


def block_parts(content, index, count, md5, title="报告 v2.tar.gz"):
    """The parts of one block request, in the order the module sends them."""
    chunk = content[index * BLOCK:(index + 1) * BLOCK]
    return [("file", chunk, title), ("index", index, None), ("count", count, None),
            ("title", title, None), ("md5", md5, None), ("extension", "gz", None),
            ("total", len(content), None), ("block", BLOCK, None)]


async def check(client, token, md5):
    status, reply = await client.multipart("message/file/fsfa",
                                           [("md5", md5, None), ("block", BLOCK, None)], token)
    assert status == 200 and reply["code"] == 200
    return reply["data"]


async def send_block(client, token, content, index, count, md5):
    return await client.multipart("message/file/fsf", block_parts(content, index, count, md5), token)


@pytest.fixture
async def token(client):
    return await client.login("zhangwei")


async def test_upload_in_blocks_resume_and_download(client, token):
    content = os.urandom(BLOCK * 2 + 100)
    md5 = hashlib.md5(content).hexdigest()
    assert await check(client, token, md5) == {}

    status, reply = await send_block(client, token, content, 0, 3, md5)
    assert status == 200 and reply["code"] == 200
    assert await check(client, token, md5) == {"index": 0}

    # Resume after the last block held.
    await send_block(client, token, content, 1, 3, md5)
    assert await check(client, token, md5) == {"index": 1}
    status, reply = await send_block(client, token, content, 2, 3, md5)
    done = reply["data"]
    assert reply["code"] == 200
    assert (done["md5"], done["size"], done["title"]) == (md5, len(content), "报告 v2.tar.gz")
    assert done["id"] and done["src"].startswith(client.file_base)
    assert await check(client, token, md5) == done

    async with client.session.get(done["src"]) as resp:          # no token
        assert resp.status == 200
        assert int(resp.headers["Content-Length"]) == len(content)
        assert await resp.read() == content
    async with client.session.get(done["src"][:-6] + "x/file") as resp:
        assert resp.status == 404

    listed = await client.admin("GET", "files")
    assert [f["id"] for f in listed["files"]] == [done["id"]]
    assert listed["pending"] == {}


async def test_md5_mismatch_discards_the_blocks(client, token):
    content = os.urandom(BLOCK + 10)
    claimed = hashlib.md5(b"something else").hexdigest()
    await send_block(client, token, content, 0, 2, claimed)
    assert await check(client, token, claimed) == {"index": 0}
    status, reply = await send_block(client, token, content, 1, 2, claimed)
    assert reply["code"] != 200 and not reply["data"]
    assert await check(client, token, claimed) == {}
    assert (await client.admin("GET", "files"))["files"] == []


async def test_failed_block_is_an_http_error_and_the_upload_resumes(client, token):
    content = os.urandom(BLOCK * 3)
    md5 = hashlib.md5(content).hexdigest()
    await client.admin("POST", "fail_block", {"index": 1})
    assert (await send_block(client, token, content, 0, 3, md5))[0] == 200
    status, reply = await send_block(client, token, content, 1, 3, md5)
    assert status == 500 and reply["code"] != 200
    assert await check(client, token, md5) == {"index": 0}
    for index in (1, 2):                       # the failure was for one request only
        status, reply = await send_block(client, token, content, index, 3, md5)
        assert status == 200
    assert reply["data"]["size"] == len(content)


async def test_a_missing_block_fails_the_last_one(client, token):
    content = os.urandom(BLOCK * 3)
    md5 = hashlib.md5(content).hexdigest()
    await send_block(client, token, content, 0, 3, md5)
    status, reply = await send_block(client, token, content, 2, 3, md5)
    assert reply["code"] != 200
    assert await check(client, token, md5) == {"index": 0}


@pytest.mark.parametrize("md5,known_token,code", [
    ("not-an-md5", True, 400), (None, True, 400), ("0" * 32, False, 401),
])
async def test_bad_check_requests(client, token, md5, known_token, code):
    parts = ([("md5", md5, None)] if md5 else []) + [("block", BLOCK, None)]
    status, reply = await client.multipart("message/file/fsfa", parts, token if known_token else "bogus")
    assert status == 200 and reply["code"] == code


async def test_request_log_keeps_part_headers_in_order(client, token):
    content = b"x" * 10
    md5 = hashlib.md5(content).hexdigest()
    await send_block(client, token, content, 0, 1, md5)
    entry = (await client.admin("GET", "requests?service=file&n=1"))[0]
    assert [p["name"] for p in entry["parts"]] == \
        ["file", "index", "count", "title", "md5", "extension", "total", "block"]
    disposition = dict(entry["parts"][0]["headers"])["Content-Disposition"]
    assert 'name="file"' in disposition and "filename" in disposition
    assert entry["parts"][4]["text"] == md5


async def test_multipart_as_the_module_writes_it(client, token):
    """Quoted boundary, parts without Content-Type, two blanks after the semicolon."""
    boundary = "boundary_.oOo._MjQ1NTU=MTA2NDU="
    body = b""
    for name, value in (("md5", b"0" * 32), ("block", b"5242880")):
        body += (b"--" + boundary.encode() + b"\r\nContent-Disposition: form-data;  name=\""
                 + name.encode() + b"\"\r\n\r\n" + value + b"\r\n")
    body += b"--" + boundary.encode() + b"--\r\n"
    headers = {"auth": token, "platform": "PC-PRO",
               "Content-Type": 'multipart/form-data; boundary="%s"' % boundary}
    async with client.session.post(client.file_base + "message/file/fsfa", data=body,
                                   headers=headers) as resp:
        reply = client.cipher.decode_json(await resp.read())
    assert (reply["code"], reply["data"]) == (200, {})
