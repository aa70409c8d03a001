// SPDX-License-Identifier: MIT
// An item of the host's scene, as the plug-in asks it.
#pragma once

#include <glue/Reference.h>
#include <zx/ZxEdit.h>
#include <zx/ZxItem.h>

/// Questions of an empty wrapper are answered as if there were nothing; failures of the host are thrown.
class CZxUser_Item : public CZxLocalize<ZxItemTable> {
public:
    uint64_t identifier() const
    {
        uint64_t identifier = 0;
        check(call<&ZxItemTable::identifier>(&identifier));
        return identifier;
    }
    /// Unique name, which lasts until the item is renamed.
    const char* uniqueName() const
    {
        const char* name = nullptr;
        check(call<&ZxItemTable::uniqueName>(&name));
        return name;
    }
    bool isType(uint32_t typeCode) const { return object() && decided(call<&ZxItemTable::isType>(typeCode)); }
    bool hasPackage(const char* package) const
    {
        return object() && decided(call<&ZxItemTable::hasPackage>(package));
    }
    /// Empty at the top.
    CZxUser_Item parent() const { return fetchIfAny<&ZxItemTable::parent, CZxUser_Item>(); }
    uint32_t childCount() const
    {
        uint32_t count = 0;
        if (object())
            check(call<&ZxItemTable::childCount>(&count));
        return count;
    }
    CZxUser_Item child(uint32_t index) const
    {
        return fetchIfAny<&ZxItemTable::childByIndex, CZxUser_Item>(index);
    }
    /// -1 when there is no such channel.
    int32_t channel(const char* name) const
    {
        int32_t index = -1;
        if (!object())
            return -1;
        const zxresult result = call<&ZxItemTable::channelIndex>(name, &index);
        if (isAbsent(result))
            return -1;
        check(result);
        return index;
    }

    // Changes; each throws the host's failure.

    void setName(const char* name) const { check(edit().call<&ZxItemEditTable::setName>(name)); }
    void setParent(const CZxUser_Item& parent) const
    {
        check(edit().call<&ZxItemEditTable::setParent>(parent.object()));
    }
    /// A package that is there changes nothing.
    void addPackage(const char* package) const { check(edit().call<&ZxItemEditTable::addPackage>(package)); }
    /// A package that is not there changes nothing.
    void removePackage(const char* package) const
    {
        if (const zxresult result = edit().call<&ZxItemEditTable::removePackage>(package);
            result != kZxNotFound)
            check(result);
    }

private:
    CZxLocalize<ZxItemEditTable> edit() const
    {
        CZxLocalize<ZxItemEditTable> edit;
        edit.query(object(), kZxIdItemEdit);
        return edit;
    }
};

/// String tags of an item or a scene.
class CZxUser_StringTag : public CZxLocalize<ZxStringTagTable> {
public:
    explicit CZxUser_StringTag(const CZxObject& owner) { query(owner.object(), kZxIdStringTag); }

    /// Null when there is no such tag; lasts until the tag changes.
    const char* get(uint32_t code) const
    {
        const char* text = nullptr;
        return succeeded(call<&ZxStringTagTable::get>(code, &text)) ? text : nullptr;
    }
    /// Null clears the tag. Throws the host's failure.
    void set(uint32_t code, const char* text) const { check(call<&ZxStringTagTable::set>(code, text)); }
};

/// Four characters as a tag's code.
constexpr uint32_t TagCode(const char (&four)[5])
{
    return static_cast<uint32_t>(static_cast<unsigned char>(four[0])) << 24
        | static_cast<uint32_t>(static_cast<unsigned char>(four[1])) << 16
        | static_cast<uint32_t>(static_cast<unsigned char>(four[2])) << 8
        | static_cast<unsigned char>(four[3]);
}
