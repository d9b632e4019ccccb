// SPDX-License-Identifier: MIT
// kvmess-console: the messaging module in a host without windows, for
// scripts, demonstrations, load and fault tests.
#include "account/usermanager.h"
#include "hostprofile.h"
#include "consolecommand.h"
#include "consolehost.h"
#include "consoleinput.h"
#include "messaging/wscommunicationtesthook_p.h"
#include "platform/safety.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QLoggingCategory>
#include <QSettings>
#include <QSocketNotifier>

#include <csignal>
#include <cstdio>
#include <unistd.h>

namespace {

int g_signalPipe[2] = {-1, -1};
volatile std::sig_atomic_t g_signals = 0;

void onSignal(int)
{
    // A second interrupt ends a host that is stuck in a blocking call.
    if (++g_signals > 1)
        _exit(130);
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(g_signalPipe[1], &byte, 1);
}

void watchSignals(KvConsoleHost *host)
{
    if (::pipe(g_signalPipe) != 0)
        return;
    auto *notifier = new QSocketNotifier(g_signalPipe[0], QSocketNotifier::Read, host);
    QObject::connect(notifier, &QSocketNotifier::activated, host, [notifier, host] {
        char byte;
        [[maybe_unused]] const ssize_t count = ::read(g_signalPipe[0], &byte, 1);
        notifier->setEnabled(false);
        host->slotInterrupt();
    });
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

QString helpText(const QCommandLineParser &parser)
{
    return parser.helpText()
        + QStringLiteral("\nCommands (from the arguments, separated by a lone \";\", or one a line on standard input):\n")
        + KvConsoleCommand::usage()
        + QStringLiteral(
            "\nOutput: one JSON object a line on standard output. Every command ends with\n"
            "{\"event\": \"result\", \"command\": ..., \"ok\": ...}; while listening, messages,\n"
            "status changes, link changes, friend events and upload progress come as\n"
            "\"message\", \"status\", \"link\", \"login\", \"friend\" and \"progress\" events.\n"
            "Errors are also written to standard error.\n"
            "\nExit status: 0 success, 1 a command failed, 2 usage error, 3 servers unreachable.\n"
            "Server addresses: KVMESS_ACCOUNT_URL, KVMESS_MESSAGE_HOST, KVMESS_FILE_HOST.\n"
            "\nExample:\n"
            "  kvmess-console --profile /tmp/lina login password lina kv123456 \\; send text zhangwei hello\n");
}

QtMessageHandler g_defaultHandler = nullptr;

void filterMessages(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    // Said on every start on machines without a session; nothing to act on.
    if (message.startsWith(QLatin1String("QStandardPaths: XDG_RUNTIME_DIR not set")))
        return;
    g_defaultHandler(type, context, message);
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    g_defaultHandler = qInstallMessageHandler(filterMessages);
    QApplication app(argc, argv);
    KvSafety::setEnabled(true); // peers are not trusted: see the README's Security section
    // Windows of the module come and go (a notice page); the host ends by its own rule.
    QApplication::setQuitOnLastWindowClosed(false);
    QCoreApplication::setApplicationName(QStringLiteral("kvmess-console"));
    QCoreApplication::setApplicationVersion(QStringLiteral(KVMESS_CONSOLE_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("A host of the KvMess messaging module without windows."));
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help."));
    const QCommandLineOption version(QStringLiteral("version"), QStringLiteral("Show the version."));
    const QCommandLineOption profile(
        {QStringLiteral("p"), QStringLiteral("profile")},
        QStringLiteral("Keep the persisted login, settings and received files in <folder> "
                       "instead of the user's own."),
        QStringLiteral("folder"));
    const QCommandLineOption listen(
        {QStringLiteral("l"), QStringLiteral("listen")},
        QStringLiteral("Print events from the start; with commands from the arguments, stay up after them "
                       "until interrupted."));
    const QCommandLineOption timeScale(QStringLiteral("time-scale"),
                                       QStringLiteral("For tests: multiply the message link's timers by <factor>."),
                                       QStringLiteral("factor"));
    const QCommandLineOption verbose({QStringLiteral("v"), QStringLiteral("verbose")},
                                     QStringLiteral("Let the module's own log lines through to standard error."));
    parser.addOptions({help, version, profile, listen, verbose, timeScale});
    parser.addPositionalArgument(QStringLiteral("commands"),
                                 QStringLiteral("Commands to run; without any, they are read from standard input."),
                                 QStringLiteral("[COMMAND [ARGS...] [; COMMAND...]]"));
    if (!parser.parse(QCoreApplication::arguments())) {
        std::fprintf(stderr, "kvmess-console: %s (see --help)\n", qPrintable(parser.errorText()));
        return KvConsoleHost::ExitUsage;
    }
    if (parser.isSet(help)) {
        std::fputs(qPrintable(helpText(parser)), stdout);
        return KvConsoleHost::ExitOk;
    }
    if (parser.isSet(version)) {
        std::printf("kvmess-console %s\n", KVMESS_CONSOLE_VERSION);
        return KvConsoleHost::ExitOk;
    }
    // The module's informational lines would drown the output; warnings stay.
    if (!parser.isSet(verbose) && qEnvironmentVariableIsEmpty("QT_LOGGING_RULES"))
        QLoggingCategory::setFilterRules(QStringLiteral("kvmess.*.debug=false\nkvmess.*.info=false"));
    if (parser.isSet(timeScale)) {
        bool valid = false;
        const double factor = parser.value(timeScale).toDouble(&valid);
        if (!valid || factor <= 0) {
            std::fprintf(stderr, "kvmess-console: --time-scale needs a positive number\n");
            return KvConsoleHost::ExitUsage;
        }
        KvWSCommunicationTestHook::setTimeScale(factor);
    }
    if (parser.isSet(profile))
        useHostProfile(parser.value(profile));

    // Unknown commands are refused before anything connects.
    const QList<QStringList> commands = KvConsoleCommand::splitArguments(parser.positionalArguments());
    for (const QStringList &words : commands) {
        const KvConsoleCommand command = KvConsoleCommand::parse(words);
        if (!command.isValid()) {
            std::fprintf(stderr, "kvmess-console: %s\n", qPrintable(command.error));
            return KvConsoleHost::ExitUsage;
        }
    }

    KvConsoleHost host;
    host.setListening(parser.isSet(listen));
    host.setProgressOnTerminal(::isatty(STDERR_FILENO) != 0);
    QObject::connect(
        &host, &KvConsoleHost::signalFinished, &app, [](int code) { QCoreApplication::exit(code); },
        Qt::QueuedConnection);
    watchSignals(&host);

    host.start();
    if (!commands.isEmpty()) {
        host.runArguments(commands);
    } else {
        auto *input = new KvConsoleInput(STDIN_FILENO, &host);
        QObject::connect(input, &KvConsoleInput::signalLine, &host, &KvConsoleHost::slotInputLine);
        QObject::connect(input, &KvConsoleInput::signalEnd, &host, &KvConsoleHost::slotInputEnd);
        host.beginInput();
    }
    return app.exec();
}
