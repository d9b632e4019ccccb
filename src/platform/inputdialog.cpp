// SPDX-License-Identifier: MIT
#include "inputdialog.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QValidator>
#include <QVBoxLayout>

KvInputDialog::KvInputDialog(QWidget *parent)
    : KvFramelessDialog(parent, false)
{
    setObjectName(QStringLiteral("kvInputDialog"));
    auto *content = new QWidget;
    auto *layout = new QVBoxLayout(content);
    layout->setContentsMargins(20, 16, 20, 14);
    layout->setSpacing(10);

    auto *row = new QHBoxLayout;
    row->setSpacing(8);
    m_label = new QLabel(content);
    m_label->setObjectName(QStringLiteral("label"));
    row->addWidget(m_label);
    m_lineEdit = new QLineEdit(content);
    m_lineEdit->setObjectName(QStringLiteral("lineEdit"));
    m_lineEdit->setMinimumWidth(220);
    row->addWidget(m_lineEdit, 1);
    layout->addLayout(row);
    layout->addSpacing(6);

    auto *buttons = new QHBoxLayout;
    buttons->setSpacing(10);
    buttons->addStretch(1);
    m_ok = new QPushButton(tr("确定"), content);
    m_ok->setObjectName(QStringLiteral("pushButtonOk"));
    m_ok->setMinimumWidth(72);
    m_cancel = new QPushButton(tr("取消"), content);
    m_cancel->setObjectName(QStringLiteral("pushButtonCancel"));
    m_cancel->setMinimumWidth(72);
    buttons->addWidget(m_ok);
    buttons->addWidget(m_cancel);
    layout->addLayout(buttons);

    connect(m_ok, &QPushButton::clicked, this, &KvInputDialog::accept);
    connect(m_cancel, &QPushButton::clicked, this, &KvInputDialog::reject);
    setContentWidget(content);
    // Only a button inside its dialog can become the dialog's main default.
    m_ok->setDefault(true);
    m_lineEdit->setFocus();
}

void KvInputDialog::setLabelText(const QString &text)
{
    m_label->setText(text);
}

QString KvInputDialog::labelText() const
{
    return m_label->text();
}

void KvInputDialog::setTitle(const QString &title)
{
    setWindowTitle(title);
}

void KvInputDialog::setValidator(QValidator *validator)
{
    if (validator)
        validator->setParent(this);
    m_lineEdit->setValidator(validator);
}

void KvInputDialog::setCheckFunc(std::function<bool(const QString &, QWidget *)> check)
{
    m_check = std::move(check);
}

void KvInputDialog::setTextValue(const QString &text)
{
    m_lineEdit->setText(text);
}

QString KvInputDialog::textValue() const
{
    return m_lineEdit->text();
}

QLineEdit *KvInputDialog::lineEdit() const
{
    return m_lineEdit;
}

QPushButton *KvInputDialog::okButton() const
{
    return m_ok;
}

QPushButton *KvInputDialog::cancelButton() const
{
    return m_cancel;
}

void KvInputDialog::accept()
{
    if (m_check && !m_check(m_lineEdit->text(), this)) {
        m_lineEdit->setFocus();
        return;
    }
    KvFramelessDialog::accept();
}
