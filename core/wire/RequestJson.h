#pragma once

// The JSON fields of the request records. A request's fields stand in the frame's own object,
// beside "type", so these write into and read from an object the frame coder owns.

#include "model/Json.h"
#include "wire/Requests.h"

namespace brevio::wire {

boost::json::value encodeClientInfo(const ClientInfo& info, const boost::json::storage_ptr& sp);
ClientInfo decodeClientInfo(const boost::json::value& v);

void writeFields(boost::json::object& o, const LoginRequest& r);
void writeFields(boost::json::object& o, const ResumeRequest& r);
void writeFields(boost::json::object& o, const RedeemRequest& r);
void writeFields(boost::json::object& o, const SignUpRequest& r);
void writeFields(boost::json::object& o, const SendRequest& r);
void writeFields(boost::json::object& o, const EditRequest& r);
void writeFields(boost::json::object& o, const DeleteRequest& r);
void writeFields(boost::json::object& o, const ReactRequest& r);
void writeFields(boost::json::object& o, const ChangesRequest& r);
void writeFields(boost::json::object& o, const HistoryRequest& r);
void writeFields(boost::json::object& o, const ReadRequest& r);
void writeFields(boost::json::object& o, const TypingRequest& r);
void writeFields(boost::json::object& o, const InviteRequest& r);
void writeFields(boost::json::object& o, const UpdateClientRequest& r);
void writeFields(boost::json::object& o, const ReceiptsRequest& r);
void writeFields(boost::json::object& o, const SetAvatarRequest& r);
void writeFields(boost::json::object& o, const CreateGroupRequest& r);
void writeFields(boost::json::object& o, const UpdateGroupRequest& r);

// Each throws DecodeError for a missing required key or a value of the wrong type.
void readFields(const json::Fields& f, LoginRequest& r);
void readFields(const json::Fields& f, ResumeRequest& r);
void readFields(const json::Fields& f, RedeemRequest& r);
void readFields(const json::Fields& f, SignUpRequest& r);
void readFields(const json::Fields& f, SendRequest& r);
void readFields(const json::Fields& f, EditRequest& r);
void readFields(const json::Fields& f, DeleteRequest& r);
void readFields(const json::Fields& f, ReactRequest& r);
void readFields(const json::Fields& f, ChangesRequest& r);
void readFields(const json::Fields& f, HistoryRequest& r);
void readFields(const json::Fields& f, ReadRequest& r);
void readFields(const json::Fields& f, TypingRequest& r);
void readFields(const json::Fields& f, InviteRequest& r);
void readFields(const json::Fields& f, UpdateClientRequest& r);
void readFields(const json::Fields& f, ReceiptsRequest& r);
void readFields(const json::Fields& f, SetAvatarRequest& r);
void readFields(const json::Fields& f, CreateGroupRequest& r);
void readFields(const json::Fields& f, UpdateGroupRequest& r);

} // namespace brevio::wire
