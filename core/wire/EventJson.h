#pragma once

// The JSON fields of the event and reply records. Like requests, they stand in the frame's own
// object beside "type".

#include "model/Json.h"
#include "wire/Events.h"

namespace brevio::wire {

void writeFields(boost::json::object& o, const Welcome& e);
void writeFields(boost::json::object& o, const Ack& e);
void writeFields(boost::json::object& o, const MessageEvent& e);
void writeFields(boost::json::object& o, const HistoryPage& e);
void writeFields(boost::json::object& o, const ChangesPage& e);
void writeFields(boost::json::object& o, const ReadEvent& e);
void writeFields(boost::json::object& o, const TypingEvent& e);
void writeFields(boost::json::object& o, const PresenceEvent& e);
void writeFields(boost::json::object& o, const ConversationEvent& e);
void writeFields(boost::json::object& o, const ConversationRemovedEvent& e);
void writeFields(boost::json::object& o, const ReceiptsReply& e);
void writeFields(boost::json::object& o, const ClientEvent& e);
void writeFields(boost::json::object& o, const UserEvent& e);
void writeFields(boost::json::object& o, const InviteCreated& e);
void writeFields(boost::json::object& o, const OKReply& e);
void writeFields(boost::json::object& o, const ServerError& e);
// Only "type" is kept of an unknown frame, and the frame coder writes that.
inline void writeFields(boost::json::object&, const UnknownFrame&) {}

// Each throws DecodeError for a missing required key or a value of the wrong type.
void readFields(const json::Fields& f, Welcome& e);
void readFields(const json::Fields& f, Ack& e);
void readFields(const json::Fields& f, MessageEvent& e);
void readFields(const json::Fields& f, HistoryPage& e);
void readFields(const json::Fields& f, ChangesPage& e);
void readFields(const json::Fields& f, ReadEvent& e);
void readFields(const json::Fields& f, TypingEvent& e);
void readFields(const json::Fields& f, PresenceEvent& e);
void readFields(const json::Fields& f, ConversationEvent& e);
void readFields(const json::Fields& f, ConversationRemovedEvent& e);
void readFields(const json::Fields& f, ReceiptsReply& e);
void readFields(const json::Fields& f, ClientEvent& e);
void readFields(const json::Fields& f, UserEvent& e);
void readFields(const json::Fields& f, InviteCreated& e);
void readFields(const json::Fields& f, OKReply& e);
void readFields(const json::Fields& f, ServerError& e);

} // namespace brevio::wire
