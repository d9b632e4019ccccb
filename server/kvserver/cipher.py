# SPDX-License-Identifier: MIT
"""Body cipher shared with the client: AES-256-GCM, laid out as
12-byte nonce || ciphertext || 16-byte tag, raw bytes, no associated data."""
import json
import os

from cryptography.exceptions import InvalidTag
from cryptography.hazmat.primitives.ciphers.aead import AESGCM

DEFAULT_KEY_HEX = "6b766d6573732d646576656c6f706d656e742d6b65792d33322d627974657321"
NONCE_LEN = 12
TAG_LEN = 16


class CipherError(Exception):
    pass


def key_from_env(environ=os.environ):
    text = environ.get("KVMESS_CIPHER_KEY", "").strip() or DEFAULT_KEY_HEX
    try:
        key = bytes.fromhex(text)
    except ValueError:
        raise CipherError("KVMESS_CIPHER_KEY is not hexadecimal")
    if len(key) != 32:
        raise CipherError("KVMESS_CIPHER_KEY must be 64 hexadecimal digits")
    return key


class Cipher:
    def __init__(self, key=None):
        self._aes = AESGCM(key if key is not None else key_from_env())

    def encrypt(self, plain: bytes) -> bytes:
        nonce = os.urandom(NONCE_LEN)
        return nonce + self._aes.encrypt(nonce, plain, None)

    def decrypt(self, data: bytes) -> bytes:
        if len(data) < NONCE_LEN + TAG_LEN:
            raise CipherError("enciphered body too short")
        try:
            return self._aes.decrypt(data[:NONCE_LEN], data[NONCE_LEN:], None)
        except InvalidTag:
            raise CipherError("enciphered body does not authenticate")

    def encode_json(self, obj) -> bytes:
        return self.encrypt(json.dumps(obj, ensure_ascii=False).encode("utf-8"))

    def decode_json(self, data: bytes):
        return json.loads(self.decrypt(data).decode("utf-8"))
