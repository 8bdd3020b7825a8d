/// @file
/// What an InstallOptions owns.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "LumPalStr.h"

namespace LumConf {

/// The fields of install options. A value.
class InstallOptionsImpl {
public:
    using String = LumPalStr::String_t;
    using Strings = std::vector<String>;
    /// Name and value.
    using Attribute = std::pair<String, String>;
    using Attributes = std::vector<Attribute>;

    /// The policy keeps the status that it has.
    static constexpr std::int32_t StateAsIs = -1;

    bool GetNotify() const noexcept { return notify; }
    const String& GetTargetID() const noexcept { return targetId; }
    /// 1 enabled, 0 disabled, -1 as the policy says.
    std::int32_t GetState() const noexcept { return state; }
    bool GetForceState() const noexcept { return forceState; }
    bool GetCheckVersion() const noexcept { return checkVersion; }
    const Strings& GetAddCategories() const noexcept { return addCategories; }
    const Strings& GetRemoveCategories() const noexcept { return removeCategories; }
    bool GetRemoveAllCategories() const noexcept { return removeAllCategories; }
    const Attributes& GetAddAttributes() const noexcept { return addAttributes; }
    const Attributes& GetRemoveAttributes() const noexcept { return removeAttributes; }
    bool GetRemoveAllAttributes() const noexcept { return removeAllAttributes; }
    const String& GetOwner() const noexcept { return owner; }
    bool GetRemoveOwner() const noexcept { return removeOwner; }
    bool GetForceAll() const noexcept { return forceAll; }
    bool GetForceOwner() const noexcept { return forceOwner; }
    bool GetForceCat() const noexcept { return forceCat; }
    bool GetForceAttr() const noexcept { return forceAttr; }
    bool GetCloseConnection() const noexcept { return closeConnection; }

    void SetNotify(bool value) noexcept { notify = value; }
    void SetTargetID(const String& id) { targetId = id; }
    void SetState(std::int32_t value) noexcept { state = value; }
    void SetForceState(bool value) noexcept { forceState = value; }
    void SetCheckVersion(bool value) noexcept { checkVersion = value; }
    void AddAddCategory(const String& category) { addCategories.push_back(category); }
    void AddRemoveCategory(const String& category) { removeCategories.push_back(category); }
    void SetRemoveAllCategories(bool value) noexcept { removeAllCategories = value; }
    /// @throws LumPalMsg::IllegalArgumentError_t AttributeEmpty, AttributeWithBadText for a bad name
    void AddAddAttribute(const String& name, const String& value);
    /// @throws LumPalMsg::IllegalArgumentError_t AttributeEmpty, AttributeWithBadText for a bad name or value
    void AddRemoveAttribute(const String& name, const String& value);
    void SetRemoveAllAttributes(bool value) noexcept { removeAllAttributes = value; }
    void SetOwner(const String& text) { owner = text; }
    void SetRemoveOwner(bool value) noexcept { removeOwner = value; }
    void SetForceAll(bool value) noexcept { forceAll = value; }
    void SetForceOwner(bool value) noexcept { forceOwner = value; }
    void SetForceCat(bool value) noexcept { forceCat = value; }
    void SetForceAttr(bool value) noexcept { forceAttr = value; }
    void SetCloseConnection(bool value) noexcept { closeConnection = value; }

private:
    bool notify = true;
    String targetId = "";
    std::int32_t state = StateAsIs;
    bool forceState = false;
    bool checkVersion = false;
    Strings addCategories, removeCategories;
    bool removeAllCategories = false;
    Attributes addAttributes, removeAttributes;
    bool removeAllAttributes = false;
    String owner = "";
    bool removeOwner = false;
    bool forceAll = false;
    bool forceOwner = false;
    bool forceCat = false;
    bool forceAttr = false;
    bool closeConnection = false;
};

}  // namespace LumConf
