// SPDX-License-Identifier: MIT
// Upload throughput of a file through the module (MD5, the two checks, 5 MiB
// blocks, the chat frame) beside curl posting the same kind of blocks to the
// same file service, and the peak memory of the module's upload.
//   bench_upload [MiB]   (default 100)
#include "account/usermanager.h"
#include "platform/selfservermanager.h"
#include "benchserver.h"
#include "procstatus.h"
#include "referenceserver.h"
#include "store/usercommmanager.h"
#include "transfer/sendmessagehelper.h"

#include <QApplication>
#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRandomGenerator>
#include <QSettings>
#include <QTemporaryDir>

#include <cstdio>

namespace {

constexpr qint64 Block = 5242880;

QString randomFile(const QString &path, qint64 size)
{
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    QByteArray chunk(1 << 20, Qt::Uninitialized);
    for (qint64 written = 0; written < size; written += chunk.size()) {
        QRandomGenerator::global()->fillRange(reinterpret_cast<quint32 *>(chunk.data()), chunk.size() / 4);
        file.write(chunk.constData(), qMin<qint64>(chunk.size(), size - written));
    }
    return path;
}

QByteArray md5Of(const QString &path)
{
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    QCryptographicHash hash(QCryptographicHash::Md5);
    hash.addData(&file);
    return hash.result().toHex();
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    const qint64 size = (argc > 1 ? QByteArray(argv[1]).toLongLong() : 100) * 1024 * 1024;
    QTemporaryDir dir;
    BenchServer server(dir);
    if (!server.isRunning())
        return 1;
    if (!BenchServer::signIn("benchuser", "pw"))
        return 1;

    const QString moduleFile = randomFile(dir.filePath("module.bin"), size);
    const QString curlFile = randomFile(dir.filePath("curl.bin"), size);
    const qint64 baseline = statusKiB("VmRSS:");

    QElapsedTimer timer;
    timer.start();
    const bool sent = KvSendMessageHelper::sendFileMessage(moduleFile, "benchuser", false, false, QString());
    const qint64 moduleMs = qMax<qint64>(1, timer.elapsed());
    const qint64 peak = statusKiB("VmHWM:");

    // curl posts the blocks of another file of the same size, cut beforehand,
    // with the same fields and the same token.
    const QByteArray md5 = md5Of(curlFile);
    const qint64 count = (size + Block - 1) / Block;
    QFile source(curlFile);
    source.open(QIODevice::ReadOnly);
    for (qint64 i = 0; i < count; ++i) {
        QFile block(dir.filePath(QStringLiteral("block%1").arg(i)));
        block.open(QIODevice::WriteOnly);
        block.write(source.read(Block));
    }
    const QString url = QStringLiteral("http://%1:30081/message/file/fsf")
                            .arg(KvSelfServerManager::instance()->fileServerHost());
    const QString token = KvUserManager::instance()->getUserLoginInfo().token;
    bool curlOk = true;
    timer.restart();
    for (qint64 i = 0; i < count; ++i) {
        const QStringList args{"-s", "-f", "-o", "/dev/null", "-H", "auth: " + token, "-H", "platform: pc",
                               "-F", QStringLiteral("file=@%1;filename=curl.bin;type=application/octet-stream")
                                         .arg(dir.filePath(QStringLiteral("block%1").arg(i))),
                               "-F", QStringLiteral("index=%1").arg(i), "-F", QStringLiteral("count=%1").arg(count),
                               "-F", "title=curl.bin", "-F", "md5=" + QString::fromLatin1(md5), "-F", "extension=bin",
                               "-F", QStringLiteral("total=%1").arg(size), "-F", QStringLiteral("block=%1").arg(Block),
                               url};
        curlOk = curlOk && QProcess::execute("curl", args) == 0;
    }
    const qint64 curlMs = qMax<qint64>(1, timer.elapsed());

    const double mib = size / 1048576.0;
    std::printf("file: %.0f MiB in %lld blocks\n", mib, count);
    std::printf("module: %.1f MiB/s (%lld ms)%s\n", mib * 1000 / moduleMs, moduleMs, sent ? "" : " FAILED");
    std::printf("curl: %.1f MiB/s (%lld ms)%s\n", mib * 1000 / curlMs, curlMs, curlOk ? "" : " FAILED");
    std::printf("ratio module/curl: %.2f\n", double(curlMs) / moduleMs);
    std::printf("peak resident memory: %.1f MiB (%.1f MiB above the %.1f MiB before the upload)\n", peak / 1024.0,
                (peak - baseline) / 1024.0, baseline / 1024.0);
    std::printf("%s\n", QJsonDocument(QJsonObject{{"bench", "upload"}, {"mebibytes", mib},
                                                   {"module", sent ? mib * 1000 / moduleMs : 0.0},
                                                   {"curl", curlOk ? mib * 1000 / curlMs : 0.0},
                                                   {"peakMiB", (peak - baseline) / 1024.0}})
                             .toJson(QJsonDocument::Compact)
                             .constData());
    KvUserManager::instance()->logOut();
    return sent && curlOk ? 0 : 1;
}
