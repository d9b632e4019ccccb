#include "webengineview.h"

KvWebEngineView::KvWebEngineView(QWidget *parent)
    : QWebEngineView(parent)
{
    // The pages are notices to read; the browser's own menu (back, reload,
    // view source) has no place here.
    setContextMenuPolicy(Qt::NoContextMenu);
}
