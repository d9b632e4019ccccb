// SPDX-License-Identifier: MIT
#pragma once

#include "kvplatform_export.h"

#include <QWebEngineView>

// The web view of the module's windows: load(QUrl) as inherited. With KvSafety
// on it goes only to http and https pages, and local content reads no file.
class KVPLATFORM_EXPORT KvWebEngineView : public QWebEngineView
{
    Q_OBJECT
public:
    explicit KvWebEngineView(QWidget *parent = nullptr);
};
