// SPDX-License-Identifier: MIT
#include "encrypter.h"

#include "platformlogging_p.h"

#include <openssl/evp.h>
#include <openssl/rand.h>

#include <memory>

namespace {

constexpr int keySize = 32;
constexpr int nonceSize = 12;
constexpr int tagSize = 16;

using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)>;

QByteArray deploymentKey()
{
    QByteArray hex = qgetenv("KVMESS_CIPHER_KEY").trimmed();
    if (hex.isEmpty())
        hex = KvEncrypter::developmentKeyHex;
    const QByteArray key = QByteArray::fromHex(hex);
    if (hex.size() != 2 * keySize || key.size() != keySize || key.toHex() != hex.toLower()) {
        qCCritical(kvPlatform) << "KVMESS_CIPHER_KEY must be 64 hexadecimal digits; nothing can be enciphered";
        return {};
    }
    return key;
}

const QByteArray &cachedKey()
{
    static const QByteArray key = deploymentKey();
    return key;
}

} // namespace

QByteArray KvEncrypter::encrypt(const QByteArray &plain, bool base64)
{
    const QByteArray cipher = encryptWithKey(plain, cachedKey());
    return base64 ? cipher.toBase64() : cipher;
}

QByteArray KvEncrypter::decrypt(const QByteArray &cipher, bool base64)
{
    return decryptWithKey(base64 ? QByteArray::fromBase64(cipher) : cipher, cachedKey());
}

QByteArray KvEncrypter::encryptWithKey(const QByteArray &plain, const QByteArray &key)
{
    if (key.size() != keySize)
        return {};
    QByteArray out(nonceSize + plain.size() + tagSize, Qt::Uninitialized);
    auto *nonce = reinterpret_cast<unsigned char *>(out.data());
    if (RAND_bytes(nonce, nonceSize) != 1)
        return {};

    CipherContext ctx(EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free);
    int length = 0;
    auto *body = nonce + nonceSize;
    if (!ctx
        || EVP_EncryptInit_ex(ctx.get(), EVP_aes_256_gcm(), nullptr, nullptr, nullptr) != 1
        || EVP_CIPHER_CTX_ctrl(ctx.get(), EVP_CTRL_GCM_SET_IVLEN, nonceSize, nullptr) != 1
        || EVP_EncryptInit_ex(ctx.get(), nullptr, nullptr,
                              reinterpret_cast<const unsigned char *>(key.constData()), nonce) != 1
        || EVP_EncryptUpdate(ctx.get(), body, &length,
                             reinterpret_cast<const unsigned char *>(plain.constData()), plain.size()) != 1
        || EVP_EncryptFinal_ex(ctx.get(), body + length, &length) != 1
        || EVP_CIPHER_CTX_ctrl(ctx.get(), EVP_CTRL_GCM_GET_TAG, tagSize, body + plain.size()) != 1) {
        return {};
    }
    return out;
}

QByteArray KvEncrypter::decryptWithKey(const QByteArray &cipher, const QByteArray &key)
{
    if (key.size() != keySize || cipher.size() < nonceSize + tagSize)
        return {};
    const auto *nonce = reinterpret_cast<const unsigned char *>(cipher.constData());
    const auto *body = nonce + nonceSize;
    const int bodySize = cipher.size() - nonceSize - tagSize;
    QByteArray tag = cipher.right(tagSize);

    QByteArray plain(bodySize, Qt::Uninitialized);
    auto *out = reinterpret_cast<unsigned char *>(plain.data());
    CipherContext ctx(EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free);
    int length = 0;
    if (!ctx
        || EVP_DecryptInit_ex(ctx.get(), EVP_aes_256_gcm(), nullptr, nullptr, nullptr) != 1
        || EVP_CIPHER_CTX_ctrl(ctx.get(), EVP_CTRL_GCM_SET_IVLEN, nonceSize, nullptr) != 1
        || EVP_DecryptInit_ex(ctx.get(), nullptr, nullptr,
                              reinterpret_cast<const unsigned char *>(key.constData()), nonce) != 1
        || EVP_DecryptUpdate(ctx.get(), out, &length, body, bodySize) != 1
        || EVP_CIPHER_CTX_ctrl(ctx.get(), EVP_CTRL_GCM_SET_TAG, tagSize, tag.data()) != 1
        || EVP_DecryptFinal_ex(ctx.get(), out + length, &length) != 1) {
        return {};
    }
    return plain;
}
