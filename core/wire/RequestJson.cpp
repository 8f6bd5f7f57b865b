#include "wire/RequestJson.h"

namespace brevio::wire {

using json::put;

boost::json::value encodeClientInfo(const ClientInfo& info, const boost::json::storage_ptr& sp) {
    boost::json::object o(sp);
    o.reserve(4);
    put(o, "protocolVersion", info.protocolVersion);
    put(o, "version", info.version);
    put(o, "build", info.build);
    put(o, "device", info.device);
    return o;
}

ClientInfo decodeClientInfo(const boost::json::value& v) {
    const json::Fields f(v, "client");
    ClientInfo info;
    info.protocolVersion = f.integer("protocolVersion");
    info.version = f.string("version");
    info.build = f.integer("build");
    info.device = f.string("device");
    return info;
}

namespace {

void putClient(boost::json::object& o, const ClientInfo& info) {
    o.emplace("client", encodeClientInfo(info, o.storage()));
}

ClientInfo readClient(const json::Fields& f) {
    return decodeClientInfo(f.require("client"));
}

} // namespace

void writeFields(boost::json::object& o, const LoginRequest& r) {
    put(o, "email", r.email);
    put(o, "password", r.password);
    putClient(o, r.client);
}

void readFields(const json::Fields& f, LoginRequest& r) {
    r.email = f.string("email");
    r.password = f.string("password");
    r.client = readClient(f);
}

void writeFields(boost::json::object& o, const ResumeRequest& r) {
    put(o, "token", r.token);
    putClient(o, r.client);
}

void readFields(const json::Fields& f, ResumeRequest& r) {
    r.token = f.string("token");
    r.client = readClient(f);
}

void writeFields(boost::json::object& o, const RedeemRequest& r) {
    put(o, "code", r.code);
    put(o, "name", r.name);
    put(o, "password", r.password);
    putClient(o, r.client);
}

void readFields(const json::Fields& f, RedeemRequest& r) {
    r.code = f.string("code");
    r.name = f.string("name");
    r.password = f.string("password");
    r.client = readClient(f);
}

void writeFields(boost::json::object& o, const SignUpRequest& r) {
    put(o, "name", r.name);
    put(o, "email", r.email);
    put(o, "companyName", r.companyName);
    put(o, "password", r.password);
    put(o, "text", r.text);
    put(o, "website", r.website);
    putClient(o, r.client);
}

void readFields(const json::Fields& f, SignUpRequest& r) {
    r.name = f.string("name");
    r.email = f.string("email");
    r.companyName = f.optString("companyName");
    r.password = f.string("password");
    r.text = f.string("text");
    r.website = f.string("website");
    r.client = readClient(f);
}

void writeFields(boost::json::object& o, const SendRequest& r) {
    put(o, "id", r.id);
    put(o, "conversationID", r.conversationID);
    put(o, "text", r.text);
    put(o, "replyToSeq", r.replyToSeq);
}

void readFields(const json::Fields& f, SendRequest& r) {
    r.id = f.string("id");
    r.conversationID = f.string("conversationID");
    r.text = f.string("text");
    r.replyToSeq = f.optInteger("replyToSeq");
}

void writeFields(boost::json::object& o, const EditRequest& r) {
    put(o, "id", r.id);
    put(o, "conversationID", r.conversationID);
    put(o, "seq", r.seq);
    put(o, "text", r.text);
}

void readFields(const json::Fields& f, EditRequest& r) {
    r.id = f.string("id");
    r.conversationID = f.string("conversationID");
    r.seq = f.integer("seq");
    r.text = f.string("text");
}

void writeFields(boost::json::object& o, const DeleteRequest& r) {
    put(o, "id", r.id);
    put(o, "conversationID", r.conversationID);
    put(o, "seq", r.seq);
}

void readFields(const json::Fields& f, DeleteRequest& r) {
    r.id = f.string("id");
    r.conversationID = f.string("conversationID");
    r.seq = f.integer("seq");
}

void writeFields(boost::json::object& o, const ReactRequest& r) {
    put(o, "id", r.id);
    put(o, "conversationID", r.conversationID);
    put(o, "seq", r.seq);
    put(o, "emoji", r.emoji);
}

void readFields(const json::Fields& f, ReactRequest& r) {
    r.id = f.string("id");
    r.conversationID = f.string("conversationID");
    r.seq = f.integer("seq");
    r.emoji = f.optString("emoji");
}

void writeFields(boost::json::object& o, const ChangesRequest& r) {
    put(o, "id", r.id);
    put(o, "conversationID", r.conversationID);
    put(o, "since", r.since);
}

void readFields(const json::Fields& f, ChangesRequest& r) {
    r.id = f.string("id");
    r.conversationID = f.string("conversationID");
    r.since = f.integer("since");
}

void writeFields(boost::json::object& o, const HistoryRequest& r) {
    put(o, "id", r.id);
    put(o, "conversationID", r.conversationID);
    put(o, "after", r.after);
    put(o, "before", r.before);
    put(o, "limit", r.limit);
}

void readFields(const json::Fields& f, HistoryRequest& r) {
    r.id = f.string("id");
    r.conversationID = f.string("conversationID");
    r.after = f.optInteger("after");
    r.before = f.optInteger("before");
    r.limit = f.integer("limit");
}

void writeFields(boost::json::object& o, const ReadRequest& r) {
    put(o, "conversationID", r.conversationID);
    put(o, "seq", r.seq);
}

void readFields(const json::Fields& f, ReadRequest& r) {
    r.conversationID = f.string("conversationID");
    r.seq = f.integer("seq");
}

void writeFields(boost::json::object& o, const TypingRequest& r) {
    put(o, "conversationID", r.conversationID);
    put(o, "isTyping", r.isTyping);
}

void readFields(const json::Fields& f, TypingRequest& r) {
    r.conversationID = f.string("conversationID");
    r.isTyping = f.boolean("isTyping");
}

void writeFields(boost::json::object& o, const InviteRequest& r) {
    put(o, "id", r.id);
    put(o, "clientID", r.clientID);
    put(o, "companyName", r.companyName);
    put(o, "name", r.name);
    put(o, "email", r.email);
}

void readFields(const json::Fields& f, InviteRequest& r) {
    r.id = f.string("id");
    r.clientID = f.optString("clientID");
    r.companyName = f.optString("companyName");
    r.name = f.string("name");
    r.email = f.string("email");
}

void writeFields(boost::json::object& o, const UpdateClientRequest& r) {
    put(o, "id", r.id);
    put(o, "clientID", r.clientID);
    put(o, "name", r.name);
    put(o, "notes", r.notes);
}

void readFields(const json::Fields& f, UpdateClientRequest& r) {
    r.id = f.string("id");
    r.clientID = f.string("clientID");
    r.name = f.optString("name");
    r.notes = f.optString("notes");
}

void writeFields(boost::json::object& o, const ReceiptsRequest& r) {
    put(o, "id", r.id);
    put(o, "conversationID", r.conversationID);
    put(o, "seq", r.seq);
}

void readFields(const json::Fields& f, ReceiptsRequest& r) {
    r.id = f.string("id");
    r.conversationID = f.string("conversationID");
    r.seq = f.integer("seq");
}

void writeFields(boost::json::object& o, const SetAvatarRequest& r) {
    put(o, "id", r.id);
    put(o, "image", r.image);
}

void readFields(const json::Fields& f, SetAvatarRequest& r) {
    r.id = f.string("id");
    r.image = f.optString("image");
}

void writeFields(boost::json::object& o, const CreateGroupRequest& r) {
    put(o, "id", r.id);
    put(o, "name", r.name);
    put(o, "memberIDs", r.memberIDs);
}

void readFields(const json::Fields& f, CreateGroupRequest& r) {
    r.id = f.string("id");
    r.name = f.string("name");
    r.memberIDs = f.stringList("memberIDs");
}

void writeFields(boost::json::object& o, const UpdateGroupRequest& r) {
    put(o, "id", r.id);
    put(o, "conversationID", r.conversationID);
    put(o, "name", r.name);
    put(o, "add", r.add);
    put(o, "remove", r.remove);
}

void readFields(const json::Fields& f, UpdateGroupRequest& r) {
    r.id = f.string("id");
    r.conversationID = f.string("conversationID");
    r.name = f.optString("name");
    r.add = f.optStringList("add");
    r.remove = f.optStringList("remove");
}

} // namespace brevio::wire
