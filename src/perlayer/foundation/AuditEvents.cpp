#include "perlayer/foundation/AuditEvents.h"

#include <utility>

#include "perlayer/platform/TLayer.h"

namespace perlayer {

namespace {

struct TAuditEvents {
  TIOnSendMessage message;
  TIOnSendAuditMessage audit;
  TIOnSendAuditAppUserMessage appUser;
  TIOnSendAuditAlertMessage alert;
};

TAuditEvents& Events() { return TLayer::Part<TAuditEvents>(TLayerPart::auditEvents); }

}  // namespace

const TIOnSendMessage& GlobalOnSendMessage() { return Events().message; }
void GlobalOnSendMessage(TIOnSendMessage event) { Events().message = std::move(event); }

const TIOnSendAuditMessage& GlobalOnSendAuditMessage() { return Events().audit; }
void GlobalOnSendAuditMessage(TIOnSendAuditMessage event) { Events().audit = std::move(event); }

const TIOnSendAuditAppUserMessage& GlobalOnSendAuditAppUserMessage() { return Events().appUser; }
void GlobalOnSendAuditAppUserMessage(TIOnSendAuditAppUserMessage event) {
  Events().appUser = std::move(event);
}

const TIOnSendAuditAlertMessage& GlobalOnSendAuditAlertMessage() { return Events().alert; }
void GlobalOnSendAuditAlertMessage(TIOnSendAuditAlertMessage event) {
  Events().alert = std::move(event);
}

}  // namespace perlayer
