// SPDX-License-Identifier: MIT
#pragma once

#include "kvplatform_export.h"

#include "framelessdialog.h"

#include <functional>

class QLabel;
class QLineEdit;
class QPushButton;
class QValidator;

// Asks for one line of text: a label, a line edit, "确定" and "取消".
class KVPLATFORM_EXPORT KvInputDialog : public KvFramelessDialog
{
    Q_OBJECT
public:
    explicit KvInputDialog(QWidget *parent = nullptr);

    void setLabelText(const QString &text);
    QString labelText() const;
    void setTitle(const QString &title); // also the window title
    void setValidator(QValidator *validator); // the dialog takes ownership
    void setCheckFunc(std::function<bool(const QString &text, QWidget *parent)> check);
    void setTextValue(const QString &text);
    QString textValue() const;
    QLineEdit *lineEdit() const;
    QPushButton *okButton() const;
    QPushButton *cancelButton() const;

public Q_SLOTS:
    // Confirmation: runs the check function (if any) with the text and this
    // dialog; the dialog is accepted only when it returns true.
    void accept() override;

private:
    QLabel *m_label;
    QLineEdit *m_lineEdit;
    QPushButton *m_ok;
    QPushButton *m_cancel;
    std::function<bool(const QString &, QWidget *)> m_check;
};
