#include "inputdialog.h"

#include <QDialogButtonBox>
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
    layout->setContentsMargins(24, 16, 24, 18);
    layout->setSpacing(10);
    m_label = new QLabel;
    m_label->setObjectName(QStringLiteral("kvInputLabel"));
    m_lineEdit = new QLineEdit;
    m_lineEdit->setObjectName(QStringLiteral("kvInputLineEdit"));
    m_lineEdit->setMinimumWidth(260);
    auto *buttons = new QDialogButtonBox;
    buttons->addButton(tr("确定"), QDialogButtonBox::AcceptRole)->setObjectName(QStringLiteral("kvInputOk"));
    buttons->addButton(tr("取消"), QDialogButtonBox::RejectRole)->setObjectName(QStringLiteral("kvInputCancel"));
    layout->addWidget(m_label);
    layout->addWidget(m_lineEdit);
    layout->addSpacing(6);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &KvInputDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &KvInputDialog::reject);
    setContentWidget(content);
}

void KvInputDialog::setLabelText(const QString &text)
{
    m_label->setText(text);
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

void KvInputDialog::accept()
{
    if (m_check && !m_check(textValue(), this))
        return;
    KvFramelessDialog::accept();
}
