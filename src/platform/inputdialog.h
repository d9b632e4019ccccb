#pragma once

#include "framelessdialog.h"

#include <functional>

class QLabel;
class QLineEdit;
class QValidator;

// Asks for one line of text. A check function, when set, decides on
// confirmation whether the dialog may close; it may tell the user why not.
class KVPLATFORM_EXPORT KvInputDialog : public KvFramelessDialog
{
    Q_OBJECT
public:
    explicit KvInputDialog(QWidget *parent = nullptr);

    void setLabelText(const QString &text);
    void setTitle(const QString &title);
    // The dialog takes ownership.
    void setValidator(QValidator *validator);
    void setCheckFunc(std::function<bool(const QString &text, QWidget *parent)> check);
    void setTextValue(const QString &text);
    QString textValue() const;
    QLineEdit *lineEdit() const { return m_lineEdit; }

public Q_SLOTS:
    void accept() override;

private:
    QLabel *m_label = nullptr;
    QLineEdit *m_lineEdit = nullptr;
    std::function<bool(const QString &, QWidget *)> m_check;
};
