// SPDX-License-Identifier: MIT
// A host application that docks the messaging panel, built against the
// installed package. `--quit` ends it as soon as the window is up.
#include <account/usermanager.h>
#include <panel/usercommwidget.h>
#include <platform/safety.h>
#include <platform/theme.h>
#include <translations.h>

#include <QApplication>
#include <QDockWidget>
#include <QMainWindow>
#include <QTimer>

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    KvSafety::setEnabled(true); // what peers send can neither run nor read anything
    kvmessLoadTranslation(QLocale::system()); // Chinese, or English for any other language
    KvTheme::apply();

    QMainWindow window;
    auto *dock = new QDockWidget(QStringLiteral("KvMess"), &window);
    dock->setWidget(new KvUserCommWidget(&window)); // the window is every chat window's parent
    window.addDockWidget(Qt::RightDockWidgetArea, dock);
    window.show();
    KvUserManager::instance()->init(); // the stored sign-in, else the visitor account

    if (app.arguments().contains(QStringLiteral("--quit")))
        QTimer::singleShot(0, &app, &QCoreApplication::quit);
    return app.exec();
}
