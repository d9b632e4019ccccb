// SPDX-License-Identifier: MIT
#pragma once

#include "kvplatform_export.h"

#include <QList>
#include <QMetaType>
#include <QObject>
#include <QVariant>
#include <QVector>

#include <functional>
#include <type_traits>
#include <utility>

// A callable with declared argument types, the receiving end of a named event.
//
//   McSlotObjectWrapper(&KvFileWidget::slotUpdateProgress)           // member slot
//   McSlotObjectWrapper::fromFunctor<QString, double>([](QString, double) {})
//
// An event's arguments are converted to the declared types; an event with too
// few arguments, or one that does not convert, is not delivered (a warning is
// logged). Extra arguments are ignored.
class KVPLATFORM_EXPORT McSlotObjectWrapper
{
public:
    template <typename Receiver, typename... Args>
    McSlotObjectWrapper(void (Receiver::*slot)(Args...))
        : m_types({qMetaTypeId<std::decay_t<Args>>()...})
    {
        static_assert(std::is_base_of<QObject, Receiver>::value, "the receiver must be a QObject");
        m_call = [slot](QObject *receiver, const QList<QVariant> &args) {
            invokeMember<Receiver, std::decay_t<Args>...>(static_cast<Receiver *>(receiver), slot, args,
                                                          std::index_sequence_for<Args...>());
        };
    }

    template <typename... Args, typename Functor>
    static McSlotObjectWrapper fromFunctor(Functor functor)
    {
        McSlotObjectWrapper wrapper;
        wrapper.m_types = {qMetaTypeId<std::decay_t<Args>>()...};
        wrapper.m_call = [functor](QObject *, const QList<QVariant> &args) {
            invokeFunctor<std::decay_t<Args>...>(functor, args, std::index_sequence_for<Args...>());
        };
        return wrapper;
    }

    QVector<int> argumentTypes() const { return m_types; }

    // True when the arguments fit the declared types and the call was made.
    bool call(QObject *receiver, const QList<QVariant> &args) const;

private:
    McSlotObjectWrapper() = default;

    template <typename Receiver, typename... Args, typename Slot, std::size_t... I>
    static void invokeMember(Receiver *receiver, Slot slot, const QList<QVariant> &args, std::index_sequence<I...>)
    {
        (receiver->*slot)(args.at(int(I)).template value<Args>()...);
    }

    template <typename... Args, typename Functor, std::size_t... I>
    static void invokeFunctor(const Functor &functor, const QList<QVariant> &args, std::index_sequence<I...>)
    {
        functor(args.at(int(I)).template value<Args>()...);
    }

    QVector<int> m_types;
    std::function<void(QObject *, const QList<QVariant> &)> m_call;
};
