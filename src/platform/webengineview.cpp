#include "webengineview.h"

KvWebEngineView::KvWebEngineView(QWidget *parent)
    : QWebEngineView(parent)
{
    setObjectName(QStringLiteral("kvWebEngineView"));
}
