// PolicyForwarder::Options.
#include "PolicyForwarder.h"

namespace LumConf {

struct PolicyForwarder::Options::Impl {
    bool notify = true;
    bool closeConnection = false;
    LumPalStr::String_t targetId = "";
};

PolicyForwarder::Options::Options() : impl(std::make_unique<Impl>()) {}

PolicyForwarder::Options::Options(const Options& other) : impl(std::make_unique<Impl>(*other.impl)) {}

PolicyForwarder::Options& PolicyForwarder::Options::operator=(const Options& other) {
    *impl = *other.impl;
    return *this;
}

PolicyForwarder::Options::~Options() = default;

PolicyForwarder::Options& PolicyForwarder::Options::SetNotify(bool value) {
    impl->notify = value;
    return *this;
}

PolicyForwarder::Options& PolicyForwarder::Options::SetCloseConnection(bool value) {
    impl->closeConnection = value;
    return *this;
}

PolicyForwarder::Options& PolicyForwarder::Options::SetTargetID(const LumPalStr::String_t& id) {
    impl->targetId = id;
    return *this;
}

bool PolicyForwarder::Options::GetNotify() const {
    return impl->notify;
}

bool PolicyForwarder::Options::GetCloseConnection() const {
    return impl->closeConnection;
}

LumPalStr::String_t PolicyForwarder::Options::GetTargetID() const {
    return impl->targetId;
}

}  // namespace LumConf
