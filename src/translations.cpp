// SPDX-License-Identifier: MIT
#include "translations.h"

#include "kvmesslogging_p.h"

#include <QCoreApplication>
#include <QPointer>
#include <QTranslator>

namespace {

// Parented to the application, so a later application starts without one.
QPointer<QTranslator> &installedTranslator()
{
    static QPointer<QTranslator> translator;
    return translator;
}

} // namespace

bool kvmessLoadTranslation(const QLocale &locale)
{
    QCoreApplication *app = QCoreApplication::instance();
    QPointer<QTranslator> &installed = installedTranslator();
    if (!app)
        return false;
    // A locale with no language of its own (C, POSIX) keeps the source texts.
    if (locale.language() == QLocale::Chinese || locale.language() == QLocale::C) {
        if (installed) {
            QCoreApplication::removeTranslator(installed);
            delete installed;
        }
        return false;
    }
    if (installed)
        return true;

    auto *translator = new QTranslator(app);
    if (!translator->load(QStringLiteral(":/translations/kvmess_en.qm"))) {
        qCWarning(kvUi) << "the English translation is missing from the library";
        delete translator;
        return false;
    }
    QCoreApplication::installTranslator(translator);
    installed = translator;
    return true;
}
