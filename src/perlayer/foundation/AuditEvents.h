#pragma once
// The events by which an application's parts reach its audit. The layer keeps them and forgets them
// when it is unloaded; it never fires one itself. Main thread only.

#include <cstdint>
#include <string>

#include "perlayer/platform/TDelegate.h"

namespace perlayer {

class IInterface;

enum class TIAuditAppUserAction : std::uint8_t { uaLogin, uaLogout, uaStart, uaStop };
enum class TIAuditAlertAction : std::uint8_t { uaWrongLogin, uaChangeLogin };

using TIOnSendMessage = TDelegate<void(const std::string& AMessage, const std::string& AURI)>;
// The node is one of the XML library that the application uses.
using TIOnSendAuditMessage = TDelegate<void(const std::string& AAuditMessage,
                                            const std::string& AMessageID, IInterface* AXMLNode)>;
using TIOnSendAuditAppUserMessage = TDelegate<void(TIAuditAppUserAction AAction)>;
using TIOnSendAuditAlertMessage = TDelegate<void(TIAuditAlertAction AAction)>;

const TIOnSendMessage& GlobalOnSendMessage();
void GlobalOnSendMessage(TIOnSendMessage event);
const TIOnSendAuditMessage& GlobalOnSendAuditMessage();
void GlobalOnSendAuditMessage(TIOnSendAuditMessage event);
const TIOnSendAuditAppUserMessage& GlobalOnSendAuditAppUserMessage();
void GlobalOnSendAuditAppUserMessage(TIOnSendAuditAppUserMessage event);
const TIOnSendAuditAlertMessage& GlobalOnSendAuditAlertMessage();
void GlobalOnSendAuditAlertMessage(TIOnSendAuditAlertMessage event);

}  // namespace perlayer
