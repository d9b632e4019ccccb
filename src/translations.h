// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include <QLocale>

// The module's texts are written in Chinese; other languages come from the
// translations compiled into the library (:/translations/kvmess_<lang>.qm).
// English stands in for every language that is not Chinese; the C locale
// (no language set) keeps the Chinese texts.
//
// Installs the English translator on the running application when `locale`'s
// language is not Chinese and answers true; for Chinese it removes one
// installed earlier and answers false, as it does when there is no application
// yet. Call on the GUI thread after the QApplication exists, before the
// module's windows are built: texts already shown are not re-translated.
KVMESS_EXPORT bool kvmessLoadTranslation(const QLocale &locale);
