// SPDX-License-Identifier: MIT
// An item of the host's scene, as the plug-in asks it.
#pragma once

#include <glue/Reference.h>
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
};
