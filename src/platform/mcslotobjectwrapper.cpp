// SPDX-License-Identifier: MIT
#include "mcslotobjectwrapper.h"

#include "platformlogging_p.h"

bool McSlotObjectWrapper::call(QObject *receiver, const QList<QVariant> &args) const
{
    if (args.size() < m_types.size()) {
        qCWarning(kvPlatform) << "event dropped: expected" << m_types.size() << "arguments, got" << args.size();
        return false;
    }
    for (int i = 0; i < m_types.size(); ++i) {
        const int wanted = m_types.at(i);
        if (wanted != QMetaType::QVariant && args.at(i).userType() != wanted && !args.at(i).canConvert(wanted)) {
            qCWarning(kvPlatform) << "event dropped: argument" << i << "is" << args.at(i).typeName()
                                  << "and does not convert to" << QMetaType::typeName(wanted);
            return false;
        }
    }
    m_call(receiver, args);
    return true;
}
