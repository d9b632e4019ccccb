// SPDX-License-Identifier: MIT
#include "wsmessagecontentfactory.h"

#include "msgcontentchatfile.h"
#include "msgcontentchatpic.h"
#include "msgcontentchattext.h"
#include "msgcontentclientofflineinfo.h"
#include "msgcontentmaplayer.h"
#include "msgcontentnotice.h"
#include "msgcontenttip.h"
#include "msgcontentuserinfo.h"
#include "msgdevicelightup.h"
#include "msgnewcustomerservice.h"
#include "wscommunicationmanager.h"
#include "wssignalsfilterformgr.h"

namespace {

using Manager = KvWSCommunicationManager;
using MakeContent = QSharedPointer<KvWSMessageContent> (*)(const QString &type);

template<typename Content>
QSharedPointer<KvWSMessageContent> makeDefault(const QString &)
{
    return QSharedPointer<Content>::create();
}

template<typename Content>
QSharedPointer<KvWSMessageContent> makeTyped(const QString &type)
{
    return QSharedPointer<Content>::create(type);
}

struct TypeEntry
{
    const char *type;
    MakeContent make;
    int dispatchKind;
    KvWSSignalsFilterForMgr::ManagerSignal signal;
};

constexpr int Batch = KvWSSignalsFilterForMgr::Batch;
constexpr int Signal = KvWSSignalsFilterForMgr::Signal;

const TypeEntry typeTable[] = {
    {"BBA", makeDefault<KvMsgContentChatFile>, Batch, nullptr},
    {"BBB", makeDefault<KvMsgContentChatPic>, Batch, nullptr},
    {"BBC", makeDefault<KvMsgContentChatText>, Batch, nullptr},
    {"ZZA", makeTyped<KvMsgContentUserInfo>, Signal, &Manager::onApplyforFriendMsgReceived},
    {"ZZB", makeTyped<KvMsgContentUserInfo>, Signal, &Manager::onConfirmedFriendMsgReceived},
    {"ZZC", makeTyped<KvMsgContentUserInfo>, Signal, &Manager::onRefusedFriendMsgReceived},
    {"ZZD", makeTyped<KvMsgContentUserInfo>, Signal, &Manager::onRemovedFriendMsgReceived},
    {"ZZG", makeTyped<KvMsgContentUserInfo>, Signal, &Manager::onProMemberChanged},
    {"ZZE", makeDefault<KvMsgContentClientOfflineInfo>, Signal, &Manager::onPCOffline},
    {"ZZH", makeTyped<KvMsgContentMaplayer>, Signal, &Manager::onMapLayerAdded},
    {"ZZI", makeTyped<KvMsgContentMaplayer>, Signal, &Manager::onMapLayerUpdated},
    {"ZZJ", makeTyped<KvMsgContentMaplayer>, Signal, &Manager::onMapLayerDeleted},
    {"ZZK", makeDefault<KvMsgDeviceLightUp>, Signal, &Manager::onDevicesLightUpChanged},
    {"BBK", makeTyped<KvMsgNewCustomerService>, Batch, nullptr},
    {"BBI", makeTyped<KvMsgContentTip>, Batch, nullptr},
    {"BBJ", makeTyped<KvMsgContentTip>, Batch, nullptr},
    {"ZZN", makeTyped<KvMsgContentNotice>, Signal, &Manager::onNoticeReceived},
    {"ZZO", makeTyped<KvMsgContentNotice>, Signal, &Manager::onPopNoticeReceived},
};

} // namespace

QSharedPointer<KvWSMessageContent> KvWSMessageContentFactory::createMessageContent(const QString &type,
                                                                                   const QJsonValue &value,
                                                                                   KvWSSignalsFilterForMgr *filter)
{
    for (const TypeEntry &entry : typeTable) {
        if (type != QLatin1String(entry.type))
            continue;
        QSharedPointer<KvWSMessageContent> content = entry.make(type);
        content->parseJsonValue(value);
        if (filter) {
            filter->dispatchKind = entry.dispatchKind;
            if (entry.dispatchKind == Signal)
                filter->setHandler(entry.signal);
        }
        return content;
    }
    return {};
}
