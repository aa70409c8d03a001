// SPDX-License-Identifier: MIT
// An item of the host's scene, as the plug-in asks it.
#pragma once

#include <glue/Reference.h>
#include <zx/ZxItem.h>

class CZxUser_Item : public CZxLocalize<ZxItemTable> {
public:
    /// 0 when it can't be asked for.
    uint64_t identifier() const
    {
        uint64_t identifier = 0;
        call<&ZxItemTable::identifier>(&identifier);
        return identifier;
    }
    /// Unique name, which lasts until the item is renamed. Throws the host's failure.
    const char* uniqueName() const
    {
        const char* name = nullptr;
        check(call<&ZxItemTable::uniqueName>(&name));
        return name;
    }
    bool isType(uint32_t typeCode) const { return isTrue(call<&ZxItemTable::isType>(typeCode)); }
    bool hasPackage(const char* package) const { return isTrue(call<&ZxItemTable::hasPackage>(package)); }
    /// Empty at the top.
    CZxUser_Item parent() const { return fetch<&ZxItemTable::parent, CZxUser_Item>(); }
    uint32_t childCount() const
    {
        uint32_t count = 0;
        return succeeded(call<&ZxItemTable::childCount>(&count)) ? count : 0;
    }
    CZxUser_Item child(uint32_t index) const
    {
        return fetch<&ZxItemTable::childByIndex, CZxUser_Item>(index);
    }
    /// -1 when there is no such channel.
    int32_t channel(const char* name) const
    {
        int32_t index = -1;
        return succeeded(call<&ZxItemTable::channelIndex>(name, &index)) ? index : -1;
    }
};
