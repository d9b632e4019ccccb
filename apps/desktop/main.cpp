// SPDX-License-Identifier: MIT
// kvmess-desktop: the application's stand-in that a person starts, with the
// messaging panel docked beside a map area.
#include "hostprofile.h"
#include "chat/chatdialog.h"
#include "desktoptray.h"
#include "desktopwindow.h"
#include "panel/usercommwidget.h"
#include "platform/safety.h"
#include "platform/theme.h"
#include "singleinstance.h"
#include "translations.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QLoggingCategory>
#include <QSettings>
#include <QSocketNotifier>
#include <QSystemTrayIcon>
#include <QTimer>

#include <csignal>
#include <cstdio>
#include <unistd.h>

namespace {

int g_signalPipe[2] = {-1, -1};

void onSignal(int)
{
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(g_signalPipe[1], &byte, 1);
}

// Ctrl-C and SIGTERM close the window like the close button does.
void quitOnSignals(QWidget *window)
{
    if (::pipe(g_signalPipe) != 0)
        return;
    auto *notifier = new QSocketNotifier(g_signalPipe[0], QSocketNotifier::Read, window);
    QObject::connect(notifier, &QSocketNotifier::activated, window, [notifier, window] {
        char byte;
        [[maybe_unused]] const ssize_t count = ::read(g_signalPipe[0], &byte, 1);
        notifier->setEnabled(false);
        window->close();
        QCoreApplication::quit();
    });
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    KvSafety::setEnabled(true); // peers are not trusted: see the README's Security section
    QCoreApplication::setApplicationName(QStringLiteral("kvmess-desktop"));
    QCoreApplication::setApplicationVersion(QStringLiteral(KVMESS_DESKTOP_VERSION));
    QGuiApplication::setDesktopFileName(QStringLiteral("kvmess-desktop"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("The desktop host of the KvMess messaging module."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption profile({QStringLiteral("p"), QStringLiteral("profile")},
                                     QStringLiteral("Keep the persisted login, settings and received files in "
                                                    "<folder> instead of the user's own."),
                                     QStringLiteral("folder"));
    const QCommandLineOption user(QStringLiteral("user"),
                                  QStringLiteral("Sign in as <name> at start (with --password), unless the "
                                                 "stored sign-in is that user already."),
                                  QStringLiteral("name"));
    const QCommandLineOption password(QStringLiteral("password"), QStringLiteral("The password for --user."),
                                      QStringLiteral("password"));
    const QCommandLineOption dark(QStringLiteral("dark"), QStringLiteral("Use the dark theme."));
    const QCommandLineOption screenshot(QStringLiteral("screenshot"),
                                        QStringLiteral("Render the window to <file> (PNG) once the session has "
                                                       "settled, then quit."),
                                        QStringLiteral("file"));
    const QCommandLineOption page(QStringLiteral("page"),
                                  QStringLiteral("Open the panel on <page>: notice, message, friend or team."),
                                  QStringLiteral("page"));
    const QCommandLineOption chat(QStringLiteral("chat"),
                                  QStringLiteral("Open the conversation with <user> at start."),
                                  QStringLiteral("user"));
    const QCommandLineOption lang(QStringLiteral("lang"),
                                  QStringLiteral("Show the windows in <language>: en or zh (default: the system's)."),
                                  QStringLiteral("language"));
    const QCommandLineOption verbose(QStringLiteral("verbose"),
                                     QStringLiteral("Let the module's log lines through."));
    parser.addOptions({profile, user, password, dark, screenshot, page, chat, lang, verbose});
    parser.process(app);
    if (parser.isSet(user) != parser.isSet(password)) {
        std::fprintf(stderr, "kvmess-desktop: --user and --password go together\n");
        return 2;
    }
    if (!parser.isSet(verbose) && qEnvironmentVariableIsEmpty("QT_LOGGING_RULES"))
        QLoggingCategory::setFilterRules(QStringLiteral("kvmess.*.debug=false\nkvmess.*.info=false"));
    // A screenshot is a one-off render, not a second start of the host.
    KvSingleInstance instance(parser.value(profile));
    if (!parser.isSet(screenshot)) {
        if (instance.handOver(parser.value(chat), parser.value(page), 1000)) {
            std::fprintf(stderr, "kvmess-desktop: handed over to the running host\n");
            return 0;
        }
        if (!instance.listen())
            std::fprintf(stderr, "kvmess-desktop: cannot listen as %s\n", 
                         qPrintable(KvSingleInstance::serverName(parser.value(profile))));
    }
    if (parser.isSet(profile))
        useHostProfile(parser.value(profile));

    // Before any window is built: texts already shown are not translated again.
    kvmessLoadTranslation(parser.isSet(lang) ? QLocale(parser.value(lang)) : QLocale::system());
    KvTheme::apply(parser.isSet(dark) ? KvTheme::Dark : KvTheme::Light);
    KvDesktopWindow window;
    quitOnSignals(&window);
    QObject::connect(&instance, &KvSingleInstance::signalActivate, &window, &KvDesktopWindow::slotActivate);
    // With a tray the host lives on when its window closes; quit ends it.
    QApplication::setQuitOnLastWindowClosed(!window.tray()->trayIcon()->isVisible());
    window.show();

    // Long enough after the start for the link to come up and the lists to arrive.
    const auto scheduleScreenshot = [&] {
        if (!parser.isSet(screenshot))
            return;
        QTimer::singleShot(2500, &window, [&] {
            const QString file = parser.value(screenshot);
            bool saved = window.grab().save(file, "PNG");
            std::printf("%s\n", qPrintable(saved ? file : QStringLiteral("cannot write ") + file));
            // An open chat window goes beside it, as <name>-chat.png.
            for (QWidget *top : QApplication::topLevelWidgets()) {
                if (!qobject_cast<KvChatDialog *>(top) || !top->isVisible())
                    continue;
                QString chatFile = file;
                chatFile.insert(chatFile.endsWith(QLatin1String(".png")) ? chatFile.size() - 4 : chatFile.size(),
                                QStringLiteral("-chat"));
                saved = top->grab().save(chatFile, "PNG") && saved;
                std::printf("%s\n", qPrintable(chatFile));
            }
            QCoreApplication::exit(saved ? 0 : 1);
        });
    };
    // The start blocks on the account service; the window is up first.
    QTimer::singleShot(0, &window, [&] {
        window.startSession(parser.value(user), parser.value(password));
        if (parser.isSet(chat))
            KvChatDialog::createChat(parser.value(chat), KvUserCommWidget::mainWidow(), false);
        if (parser.isSet(page) && !window.showPage(parser.value(page)))
            std::fprintf(stderr, "kvmess-desktop: no page %s\n", qPrintable(parser.value(page)));
        scheduleScreenshot();
    });
    return app.exec();
}
