// SPDX-License-Identifier: MIT
#pragma once

#include "kvplatform_export.h"

#include <QByteArray>

// Enciphers the bodies exchanged with the account and file services.
//
// AES-256-GCM: the output is a random 12-byte nonce, the ciphertext, then the
// 16-byte tag. The key is deployment data: KVMESS_CIPHER_KEY, 64 hex digits,
// read once; without it the development key below is used, which the
// reference server shares. A malformed KVMESS_CIPHER_KEY is reported once and
// then every call gives an empty result.
//
// decrypt() gives an empty array for anything that was not produced by
// encrypt() with the same key: tampered, truncated or foreign bytes.
// With base64 true the enciphered side is Base64 text instead of raw bytes.
class KVPLATFORM_EXPORT KvEncrypter
{
public:
    static constexpr const char *developmentKeyHex =
        "6b766d6573732d646576656c6f706d656e742d6b65792d33322d627974657321";

    static QByteArray encrypt(const QByteArray &plain, bool base64);
    static QByteArray decrypt(const QByteArray &cipher, bool base64);

    // The same with an explicit 32-byte key; an empty result for a key of another size.
    static QByteArray encryptWithKey(const QByteArray &plain, const QByteArray &key);
    static QByteArray decryptWithKey(const QByteArray &cipher, const QByteArray &key);
};
