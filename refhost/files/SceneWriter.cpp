// SPDX-License-Identifier: MIT
// A scene as text: items in order of the hierarchy, and only what differs from defaults.
#include "files/JsonText.h"
#include "files/LinkOrder.h"
#include "files/SceneFileParts.h"
#include "formats/Base64.h"
#include "refhost/Host.h"
#include "scene/DocumentAccess.h"

#include <cmath>
#include <map>
#include <utility>

namespace refhost {
namespace {

/// Writes an object's members with the unknown ones in their places between them.
class ObjectWriter {
public:
    ObjectWriter(JsonDocument& out, const UnknownContent* unknown) : m_Out(out), m_Unknown(unknown)
    {
        if (unknown)
            m_Written.resize(unknown->members.size());
        out.beginObject();
    }
    /// The value comes next.
    void key(std::string_view name)
    {
        writeUnknown(false);
        m_Out.key(name);
        m_Last = name;
    }
    void end()
    {
        writeUnknown(false);
        writeUnknown(true);
        m_Out.end();
    }

private:
    void writeUnknown(bool all)
    {
        if (!m_Unknown)
            return;
        for (std::size_t i = 0; i < m_Written.size(); ++i) {
            const UnknownMember& member = m_Unknown->members[i];
            if (m_Written[i] || (!all && member.after != m_Last))
                continue;
            JsonDocument value;
            if (!readJson(member.json, kMaximumJsonLevels, value).empty())
                continue; // it was read from a file, so it reads
            m_Out.key(member.key);
            m_Out.copy(value, 0);
            m_Last = member.key;
            m_Written[i] = true;
        }
    }

    JsonDocument& m_Out;
    const UnknownContent* m_Unknown;
    std::vector<bool> m_Written;
    std::string m_Last;
};

bool saysSomething(const LayerValues* values)
{
    return values && (values->hasPlain() || !values->keys.empty());
}

bool saysSomething(const Channel& channel)
{
    return saysSomething(channel.values(Layer::Setup)) || saysSomething(channel.values(Layer::Anim));
}

class SceneWriter {
public:
    explicit SceneWriter(const Scene& scene) : m_Scene(scene) { }

    std::string text()
    {
        const std::vector<Item*> items = itemsInOrder();
        ObjectWriter object(m_Out, unknownOf(m_Scene.data()));
        object.key(name(SceneKey::Format));
        m_Out.string(kSceneFormatName);
        object.key(name(SceneKey::Version));
        m_Out.integer(std::int64_t{kSceneFormatVersion});
        if (m_Scene.isInSetupMode()) {
            object.key(name(SceneKey::SetupMode));
            m_Out.boolean(true);
        }
        tags(object, name(SceneKey::Tags), m_Scene.tags(), "the scene");
        descriptions(object);
        if (!items.empty()) {
            object.key(name(SceneKey::Items));
            m_Out.beginArray();
            for (Item* item : items)
                writeItem(*item, nullptr);
            m_Out.end();
        }
        graphs(object);
        data(object, name(SceneKey::Data), m_Scene.data(), "the scene");
        object.end();
        if (m_Out.isTooLarge())
            fail("the scene", "it has more text than a file may hold; take something out");
        std::string out = m_Out.layout();
        if (out.size() > kMaximumSceneBytes)
            fail("the scene", "its text is larger than 1 GiB, which is not read again; take something out");
        return out;
    }

private:
    template <class Key>
    static const char* name(Key key)
    {
        const auto index = static_cast<std::size_t>(key);
        if constexpr (std::is_same_v<Key, SceneKey>)
            return kSceneKeys[index];
        else if constexpr (std::is_same_v<Key, ItemKey>)
            return kItemKeys[index];
        else if constexpr (std::is_same_v<Key, PackageKey>)
            return kPackageKeys[index];
        else if constexpr (std::is_same_v<Key, LayerKey>)
            return kLayerKeys[index];
        else if constexpr (std::is_same_v<Key, DescriptionKey>)
            return kDescriptionKeys[index];
        else
            return kDefinitionKeys[index];
    }

    [[noreturn]] static void fail(const std::string& where, const std::string& why)
    {
        throw SceneFileFault{where + ": " + why};
    }

    static std::string label(const Item& item)
    {
        const std::string id = "item " + std::to_string(item.id());
        return isStorableText(item.label()) ? id + " '" + item.label() + "'" : id;
    }

    static const UnknownContent* unknownOf(const DataList& list)
    {
        return dynamic_cast<const UnknownContent*>(list.find(kUnknownDataKind).get());
    }

    void checkedString(std::string_view text, const std::string& where)
    {
        if (!isStorableText(text))
            fail(where, "its text is not valid UTF-8 or holds a zero character; write it anew");
        m_Out.string(text);
    }

    void checkedKey(ObjectWriter& object, std::string_view text, const std::string& where)
    {
        if (!isStorableText(text))
            fail(where, "a name in it is not valid UTF-8 or holds a zero character; rename it");
        object.key(text);
    }

    void number(double value, double limit, const Channel& channel)
    {
        if (!(std::abs(value) <= limit))
            fail(label(channel.item()) + ", channel " + channel.name(),
                 "a number is too large to be read again; the largest for files is " + std::to_string(limit));
        m_Out.number(value);
    }

    // Parents before children, the children of each in their order; no recursion, since levels are counted
    // here.
    std::vector<Item*> itemsInOrder() const
    {
        std::vector<Item*> order;
        std::vector<std::pair<Item*, int>> waiting;
        const auto push = [&](const std::vector<Item*>& list, int level) {
            for (auto item = list.rbegin(); item != list.rend(); ++item)
                waiting.emplace_back(*item, level);
        };
        push(m_Scene.topItems(), 1);
        while (!waiting.empty()) {
            const auto [item, level] = waiting.back();
            waiting.pop_back();
            if (level > kMaximumItemLevels)
                fail(label(*item),
                     "it stands more than " + std::to_string(kMaximumItemLevels)
                         + " levels deep, which is not read again; move it up");
            order.push_back(item);
            push(item->children(), level + 1);
        }
        return order;
    }

    void writeItem(Item& item, const Item* owner)
    {
        m_ChannelCount += static_cast<std::size_t>(item.channelSlotCount());
        if (m_ChannelCount > kMaximumChannels)
            fail("the scene",
                 "it has more than " + std::to_string(kMaximumChannels)
                     + " channels, which are not read again");
        const UnknownContent* unknown = unknownOf(item.data());
        ObjectWriter object(m_Out, unknown);
        object.key(name(ItemKey::Id));
        m_Out.integer(item.id());
        if (!owner) {
            if (!item.name().empty()) {
                object.key(name(ItemKey::Name));
                checkedString(item.name(), label(item));
            }
            if (item.uniqueName() != item.name()) {
                object.key(name(ItemKey::Unique));
                checkedString(item.uniqueName(), label(item));
            }
            object.key(name(ItemKey::Type));
            m_Out.string(item.type().name());
            if (item.parent()) {
                object.key(name(ItemKey::Parent));
                m_Out.integer(item.parent()->id());
            }
            for (const TransformKey& row : kTransformKeys) {
                if (Item* transform = item.transformItem(row.kind)) {
                    object.key(name(row.key));
                    writeItem(*transform, &item);
                }
            }
        }
        blocks(object, item, unknown);
        tags(object, name(ItemKey::Tags), item.tags(), label(item));
        data(object, name(ItemKey::Data), item.data(), label(item));
        object.end();
    }

    void blocks(ObjectWriter& object, Item& item, const UnknownContent* unknown)
    {
        const auto& list = DocumentAccess::blocks(item);
        values(object, name(ItemKey::Values), *list[0], unknown);
        int end = list[0]->firstIndex() + list[0]->count();
        if (list.size() > kMaximumPackages + 1)
            fail(label(item), "it has more packages than a file may hold; remove some");
        if (list.size() > 1) {
            object.key(name(ItemKey::Packages));
            m_Out.beginArray();
            for (std::size_t i = 1; i < list.size(); ++i) {
                const ChannelBlock& block = *list[i];
                ObjectWriter package(m_Out, nullptr);
                package.key(name(PackageKey::Name));
                m_Out.string(block.package()->name());
                if (block.firstIndex() != end) {
                    package.key(name(PackageKey::Index));
                    m_Out.integer(std::int64_t{block.firstIndex()});
                }
                values(package, name(PackageKey::Values), block, unknown);
                package.end();
                end = block.firstIndex() + block.count();
            }
            m_Out.end();
        }
        if (item.channelSlotCount() != end) {
            object.key(name(ItemKey::Slots));
            m_Out.integer(std::int64_t{item.channelSlotCount()});
        }
    }

    void values(ObjectWriter& object, const char* key, const ChannelBlock& block,
                const UnknownContent* unknown)
    {
        bool any = false;
        const auto begin = [&] {
            if (!any) {
                object.key(key);
                m_Out.beginObject();
            }
            any = true;
        };
        for (int i = 0; i < block.count(); ++i) {
            const Channel& channel = block.channel(i);
            if (!saysSomething(channel))
                continue;
            begin();
            m_Out.key(channel.name());
            m_Out.beginObject();
            for (const Layer layer : {Layer::Setup, Layer::Anim}) {
                if (const LayerValues* said = channel.values(layer); saysSomething(said)) {
                    m_Out.key(kActionNames[static_cast<int>(layer)]);
                    writeLayer(channel, *said);
                }
            }
            m_Out.end();
        }
        const std::string_view package = block.package() ? std::string_view(block.package()->name()) : "";
        for (std::size_t i = 0; unknown && i < unknown->values.size(); ++i) {
            const LeftoverValue& left = unknown->values[i];
            JsonDocument value;
            if (left.package != package || block.layout().find(left.channel) >= 0
                || !readJson(left.json, kMaximumJsonLevels, value).empty())
                continue;
            begin();
            m_Out.key(left.channel);
            m_Out.copy(value, 0);
        }
        if (any)
            m_Out.end();
    }

    void writeLayer(const Channel& channel, const LayerValues& values)
    {
        if (values.keys.empty())
            return plain(channel, values);
        m_Out.beginObject();
        if (values.hasPlain()) {
            m_Out.key(name(LayerKey::Value));
            plain(channel, values);
        }
        m_Out.key(name(LayerKey::Keys));
        m_Out.beginArray();
        for (std::size_t i = 0; i < values.keys.count(); ++i) {
            const Key& key = values.keys.keys()[i];
            m_Out.beginArray();
            number(key.time, kMaximumTimeSeconds, channel);
            scalar(channel, key.number, values.keys.text(i));
            const bool hasSlopes = key.inSlope != 0 || key.outSlope != 0;
            if (hasSlopes || key.interpolation != usualInterpolation(channel.type()))
                m_Out.string(kInterpolationNames[static_cast<int>(key.interpolation)]);
            if (hasSlopes) {
                number(key.inSlope, kMaximumFileNumber, channel);
                number(key.outSlope, kMaximumFileNumber, channel);
            }
            m_Out.end();
        }
        m_Out.end();
        m_Out.end();
    }

    void plain(const Channel& channel, const LayerValues& values)
    {
        if (channel.type() != ChannelType::Matrix4)
            return scalar(channel, values.number.value_or(0), values.text ? *values.text : std::string());
        const Matrix34 matrix = values.matrix ? *values.matrix : Matrix34{};
        m_Out.beginArray();
        for (int row = 0; row < 3; ++row) {
            m_Out.beginArray();
            for (int column = 0; column < 3; ++column)
                number(matrix.linear[row][column], kMaximumFileNumber, channel);
            number(matrix.offset[static_cast<std::size_t>(row)], kMaximumFileNumber, channel);
            m_Out.end();
        }
        m_Out.end();
    }

    void scalar(const Channel& channel, double value, const std::string& text)
    {
        if (channel.type() == ChannelType::Text)
            checkedString(text, label(channel.item()) + ", channel " + channel.name());
        else if (channel.type() == ChannelType::Boolean)
            m_Out.boolean(value != 0);
        else if (channel.type() == ChannelType::Integer)
            m_Out.integer(std::int64_t{integerOf(value)});
        else
            number(value, kMaximumFileNumber, channel);
    }

    void tags(ObjectWriter& object, const char* key, const TagList& list, const std::string& where)
    {
        if (list.all().empty())
            return;
        if (list.all().size() > kMaximumTags)
            fail(where, "it has more tags than a file may hold; remove some");
        object.key(key);
        m_Out.beginObject();
        for (const auto& [code, text] : list.all()) {
            m_Out.key(tagKey(code));
            checkedString(text, where + ", tag " + tagKey(code));
        }
        m_Out.end();
    }

    void data(ObjectWriter& object, const char* key, const DataList& list, const std::string& where)
    {
        bool any = false;
        ObjectWriter* inner = nullptr;
        std::optional<ObjectWriter> kinds;
        for (const auto& [kind, content] : list.all()) {
            if (kind == kUnknownDataKind)
                continue;
            if (!any) {
                object.key(key);
                inner = &kinds.emplace(m_Out, nullptr);
            }
            any = true;
            checkedKey(*inner, kind, where);
            writeData(kind, *content, where);
        }
        if (any)
            inner->end();
    }

    void writeData(const std::string& kind, const DocumentData& content, const std::string& where)
    {
        if (const auto* unknown = dynamic_cast<const UnknownData*>(&content)) {
            JsonDocument value;
            if (readJson(unknown->json, kMaximumJsonLevels, value).empty())
                return m_Out.copy(value, 0);
        }
        const DataKind* writer = DataKinds::of(m_Scene.host()).find(kind);
        if (!writer)
            fail(where,
                 "its data '" + kind
                     + "' can't be stored in a file; load the part that stores it, or remove it");
        const StoredData stored = writer->write(content);
        ObjectWriter object(m_Out, nullptr);
        for (const auto& [fact, text] : stored.facts) {
            checkedKey(object, fact, where + ", data " + kind);
            checkedString(text, where + ", data " + kind);
        }
        if (!stored.bytes.empty()) {
            object.key(kBytesKey);
            m_Out.string(formats::base64Text(stored.bytes));
        }
        object.end();
    }

    void descriptions(ObjectWriter& object)
    {
        // Where a stand-in and a registered one have the same name, the registered one is described.
        std::map<std::string_view, const ItemType*> types;
        std::map<std::string_view, const Package*> packages;
        const Host& host = m_Scene.host();
        for (Item* item : m_Scene.items()) {
            for (const ItemType* type = &item->type(); type && type->origin() != kHostOrigin;
                 type = type->base()) {
                if (types.emplace(type->name(), type).second)
                    continue;
                if (const ItemType* registered = host.findType(type->name()))
                    types[type->name()] = registered;
            }
            for (const auto& block : DocumentAccess::blocks(*item)) {
                const Package* package = block->package();
                if (!package || packages.emplace(package->name(), package).second)
                    continue;
                if (const Package* registered = host.findPackage(package->name()))
                    packages[package->name()] = registered;
            }
        }
        if (!types.empty()) {
            object.key(name(SceneKey::Types));
            ObjectWriter list(m_Out, nullptr);
            for (const auto& [type, entry] : types) {
                checkedKey(list, type, "an item type");
                const auto inherited = entry->base() ? entry->base()->layout().count() : 0;
                description(entry->base(), entry->origin(), entry->layout(), inherited);
            }
            list.end();
        }
        if (!packages.empty()) {
            object.key(name(SceneKey::Packages));
            ObjectWriter list(m_Out, nullptr);
            for (const auto& [package, entry] : packages) {
                checkedKey(list, package, "a package");
                description(nullptr, entry->origin(), entry->layout(), 0);
            }
            list.end();
        }
    }

    void description(const ItemType* base, const std::string& origin, const ChannelLayout& layout, int first)
    {
        ObjectWriter object(m_Out, nullptr);
        if (base) {
            object.key(name(DescriptionKey::Base));
            m_Out.string(base->name());
        }
        object.key(name(DescriptionKey::Origin));
        checkedString(origin, "a module");
        if (first < layout.count()) {
            object.key(name(DescriptionKey::Channels));
            m_Out.beginArray();
            for (int i = first; i < layout.count(); ++i)
                definition(layout[i]);
            m_Out.end();
        }
        object.end();
    }

    void definition(const ChannelDefinition& definition)
    {
        const std::string where = "a channel of " + definition.package;
        ObjectWriter object(m_Out, nullptr);
        object.key(name(DefinitionKey::Name));
        checkedString(definition.name, where);
        object.key(name(DefinitionKey::Type));
        m_Out.string(kChannelTypeNames[static_cast<int>(definition.type)]);
        if (definition.type == ChannelType::Text && !definition.defaultText.empty()) {
            object.key(name(DefinitionKey::Default));
            checkedString(definition.defaultText, where);
        } else if (definition.type != ChannelType::Text && definition.defaultNumber != 0) {
            object.key(name(DefinitionKey::Default));
            m_Out.number(definition.defaultNumber);
        }
        const double plainDefault = definition.type == ChannelType::Text ? 0 : definition.defaultNumber;
        if (definition.defaultInteger != integerOf(plainDefault)) {
            object.key(name(DefinitionKey::Integer));
            m_Out.integer(std::int64_t{definition.defaultInteger});
        }
        const auto bound = [&](DefinitionKey key, const std::optional<double>& value) {
            if (!value || !std::isfinite(*value))
                return;
            object.key(name(key));
            m_Out.number(*value);
        };
        bound(DefinitionKey::Minimum, definition.minimum);
        bound(DefinitionKey::Maximum, definition.maximum);
        if (!definition.textHints.empty()) {
            object.key(name(DefinitionKey::Hints));
            m_Out.beginArray();
            for (const TextHint& hint : definition.textHints) {
                m_Out.beginArray();
                m_Out.integer(std::int64_t{hint.value});
                checkedString(hint.text, where);
                m_Out.end();
            }
            m_Out.end();
        }
        if (!definition.vector.empty()) {
            object.key(name(DefinitionKey::Vector));
            checkedString(definition.vector, where);
        }
        if (definition.marked) {
            object.key(name(DefinitionKey::Marked));
            m_Out.boolean(true);
        }
        object.end();
    }

    void graphs(ObjectWriter& object)
    {
        std::optional<ObjectWriter> list;
        for (const ItemGraph* graph : m_Scene.graphs()) {
            if (graph->linkCount() == 0)
                continue;
            if (!list) {
                object.key(name(SceneKey::Graphs));
                list.emplace(m_Out, nullptr);
            }
            checkedKey(*list, graph->name(), "a graph");
            m_Out.beginArray();
            for (const auto& [from, to] : linksInOrder(*graph, m_Scene.items())) {
                m_Out.beginArray();
                m_Out.integer(from->id());
                m_Out.integer(to->id());
                m_Out.end();
            }
            m_Out.end();
        }
        if (list)
            list->end();
        if (m_Scene.channelGraph().linkCount() == 0)
            return;
        std::vector<Channel*> channels;
        for (const Item* item : m_Scene.items()) {
            for (int i = 0; i < item->channelSlotCount(); ++i) {
                if (Channel* channel = item->channel(i); channel && channel->linkCount() > 0)
                    channels.push_back(channel);
            }
        }
        object.key(name(SceneKey::ChannelLinks));
        m_Out.beginArray();
        for (const auto& [from, to] : linksInOrder(m_Scene.channelGraph(), channels)) {
            m_Out.beginArray();
            linkEnd(*from);
            linkEnd(*to);
            m_Out.end();
        }
        m_Out.end();
    }

    // The index stands for the name where another channel of the item has the same one.
    void linkEnd(const Channel& channel)
    {
        m_Out.integer(channel.item().id());
        if (channel.item().channel(channel.name()) == &channel)
            m_Out.string(channel.name());
        else
            m_Out.integer(std::int64_t{channel.index()});
    }

    const Scene& m_Scene;
    JsonDocument m_Out;
    std::size_t m_ChannelCount = 0;
};

} // namespace

ResultOf<std::string> sceneText(const Scene& scene)
{
    try {
        return {SceneWriter(scene).text(), {}};
    } catch (const SceneFileFault& fault) {
        return ResultOf<std::string>::failure(fault.text);
    }
}

} // namespace refhost
