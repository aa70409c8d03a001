// SPDX-License-Identifier: MIT
// Text to a scene of its own: everything is checked, and the first fault refuses the whole text.
#include "files/SceneReader.h"

#include "formats/Base64.h"
#include "scene/DocumentAccess.h"

#include <algorithm>
#include <unordered_map>

namespace refhost {
namespace {

using Index = JsonDocument::Index;

template <class Key>
constexpr std::size_t at(Key key)
{
    return static_cast<std::size_t>(key);
}

class SceneReader {
public:
    SceneReader(const JsonDocument& document, Scene& scene)
        : m_Json(document),
          m_Doc(document),
          m_Scene(scene),
          m_Host(scene.host()),
          m_Descriptions(m_Json, m_Host, scene.attachments().require<StandIns>())
    {
    }

    void read()
    {
        auto unknown = std::make_shared<UnknownContent>();
        m_Json.expect(0, JsonKind::Object, "a scene, which is an object");
        checkVersion(); // before all else: in another version every key may mean something else
        const auto member = m_Json.members(0, kSceneKeys, unknown.get());
        const auto of = [&](SceneKey key) { return member[at(key)]; };
        if (of(SceneKey::SetupMode))
            DocumentAccess::setSetupMode(m_Scene, m_Json.boolean(of(SceneKey::SetupMode)));
        if (of(SceneKey::Types))
            m_Descriptions.readTypes(of(SceneKey::Types));
        if (of(SceneKey::Packages))
            m_Descriptions.readPackages(of(SceneKey::Packages));
        tags(of(SceneKey::Tags), nullptr);
        data(of(SceneKey::Data), nullptr);
        if (of(SceneKey::Items))
            items(of(SceneKey::Items));
        if (of(SceneKey::Graphs))
            graphs(of(SceneKey::Graphs));
        if (of(SceneKey::ChannelLinks))
            channelLinks(of(SceneKey::ChannelLinks));
        keepUnknown(nullptr, std::move(unknown));
        for (const std::string& warning : m_Warnings)
            m_Host.tell(MessageLevel::Warning, warning);
    }

private:
    void checkVersion() const
    {
        const auto format = m_Doc.member(0, kSceneKeys[at(SceneKey::Format)]);
        const auto version = m_Doc.member(0, kSceneKeys[at(SceneKey::Version)]);
        if (!format || m_Doc.kind(*format) != JsonKind::String || m_Doc.text(*format) != kSceneFormatName)
            m_Json.refuse(format.value_or(0),
                          std::string("this is no scene file: its \"format\" must be \"") + kSceneFormatName
                              + "\"");
        if (!version)
            m_Json.refuse(0, "the \"version\" is missing");
        if (m_Json.integer(*version, 0, std::numeric_limits<std::int64_t>::max()) != kSceneFormatVersion)
            m_Json.refuse(*version,
                          "this version is not known here, which is " + std::to_string(kSceneFormatVersion)
                              + "; use a newer program, or have it write the older version");
    }

    struct Record {
        Index node = 0, parentNode = 0;
        ItemId parent = 0;
        Item* item = nullptr;
        std::unique_ptr<Item> owned; // until it has its place
        int level = 0; // 0: not known yet, -1: being found out
    };

    void items(Index node)
    {
        m_Json.expect(node, JsonKind::Array, "an array");
        for (Index child = m_Doc.first(node); child != m_Doc.next(node); child = m_Doc.next(child))
            m_Records.emplace_back().node = child;
        m_ById.reserve(m_Records.size());
        for (std::size_t i = 0; i < m_Records.size(); ++i)
            makeItem(m_Records[i], i);
        for (Record& record : m_Records) {
            if (record.parentNode && !recordOf(record.parent))
                m_Json.refuse(record.parentNode, "no item of the file has this identifier");
        }
        for (Record& record : m_Records)
            findLevel(record);
        for (Record& record : m_Records) {
            Item* parent = record.parentNode ? recordOf(record.parent)->item : nullptr;
            const std::size_t place = DocumentAccess::childList(m_Scene, parent).size();
            DocumentAccess::attachItem(m_Scene, std::move(record.owned), parent, place);
        }
        for (Record& record : m_Records)
            fillItem(record);
    }

    Record* recordOf(ItemId id)
    {
        const auto found = m_ById.find(id);
        return found == m_ById.end() ? nullptr : &m_Records[found->second];
    }

    ItemId readId(Index object, Index node)
    {
        if (!node)
            m_Json.refuse(object, "the item needs an 'id'");
        const auto id =
            static_cast<ItemId>(m_Json.integer(node, 1, static_cast<std::int64_t>(kMaximumItemId)));
        ItemId& next = DocumentAccess::nextId(m_Scene);
        next = std::max(next, id + 1);
        return id;
    }

    void makeItem(Record& record, std::size_t place)
    {
        UnknownContent ignored; // read again when the item is filled
        const auto member = m_Json.members(record.node, kItemKeys, &ignored);
        const auto of = [&](ItemKey key) { return member[at(key)]; };
        const ItemId id = readId(record.node, of(ItemKey::Id));
        if (!m_ById.emplace(id, place).second)
            m_Json.refuse(of(ItemKey::Id), "another item has this identifier already");
        const std::string name = of(ItemKey::Name) ? m_Json.string(of(ItemKey::Name)) : std::string();
        std::string uniqueName = of(ItemKey::Unique) ? m_Json.string(of(ItemKey::Unique)) : name;
        const Index nameNode = of(ItemKey::Unique) ? of(ItemKey::Unique) : of(ItemKey::Name);
        if (uniqueName.empty())
            m_Json.refuse(nameNode ? nameNode : record.node, "the item needs a 'name' or a 'unique' name");
        if (!m_UniqueNames.insert(uniqueName).second)
            m_Json.refuse(nameNode, "another item has this unique name already");
        if (!of(ItemKey::Type))
            m_Json.refuse(record.node, "the item needs a 'type'");
        const ItemType& type = m_Descriptions.type(m_Json.string(of(ItemKey::Type)), of(ItemKey::Type));
        if ((record.parentNode = of(ItemKey::Parent)))
            record.parent = static_cast<ItemId>(
                m_Json.integer(record.parentNode, 1, static_cast<std::int64_t>(kMaximumItemId)));
        countChannels(record.node, static_cast<std::size_t>(type.layout().count()));
        record.owned = DocumentAccess::makeItem(m_Scene, id, type, name, std::move(uniqueName));
        record.item = record.owned.get();
    }

    void countChannels(Index node, std::size_t more)
    {
        m_ChannelCount += more;
        if (m_ChannelCount > kMaximumChannels)
            m_Json.refuse(node,
                          "up to here the file has more than " + std::to_string(kMaximumChannels)
                              + " channels, the most that are read");
    }

    // Walks up until it meets an item whose level is known, then down again.
    void findLevel(Record& start)
    {
        std::vector<Record*> way;
        int level = 0;
        for (Record* record = &start;; record = recordOf(record->parent)) {
            if (record->level > 0) {
                level = record->level;
                break;
            }
            if (record->level < 0)
                m_Json.refuse(record->parentNode,
                              "the item is its own ancestor; correct a parent on the way");
            record->level = -1;
            way.push_back(record);
            if (!record->parentNode)
                break;
        }
        for (auto record = way.rbegin(); record != way.rend(); ++record) {
            (*record)->level = ++level;
            if (level > kMaximumItemLevels)
                m_Json.refuse((*record)->parentNode,
                              "items stand more than " + std::to_string(kMaximumItemLevels) + " levels deep");
        }
    }

    void fillItem(Record& record)
    {
        auto unknown = std::make_shared<UnknownContent>();
        const auto member = m_Json.members(record.node, kItemKeys, unknown.get());
        Item& item = *record.item;
        for (const TransformKey& row : kTransformKeys) {
            const Index node = member[at(row.key)];
            if (!node)
                continue;
            if (!item.type().hasTransforms())
                m_Json.refuse(
                    node, "items of type '" + item.type().name() + "' have no position, rotation and scale");
            transformItem(node, item, row.kind);
        }
        fillBody(item, member, std::move(unknown));
    }

    void transformItem(Index node, Item& owner, TransformKind kind)
    {
        auto unknown = std::make_shared<UnknownContent>();
        const auto member = m_Json.members(node, kItemKeys, unknown.get());
        for (const ItemKey key : {ItemKey::Name, ItemKey::Unique, ItemKey::Type, ItemKey::Parent,
                                  ItemKey::Position, ItemKey::Rotation, ItemKey::Scale}) {
            if (member[at(key)])
                m_Json.refuse(member[at(key)], "a transform item has no such key; remove it");
        }
        const ItemId id = readId(node, member[at(ItemKey::Id)]);
        if (m_Scene.find(id))
            m_Json.refuse(member[at(ItemKey::Id)], "another item has this identifier already");
        const ItemType& type = m_Host.transformType(kind);
        countChannels(node, static_cast<std::size_t>(type.layout().count()));
        auto made = DocumentAccess::makeItem(m_Scene, id, type, {}, {});
        Item& item = *made;
        DocumentAccess::makeTransformOf(item, kind);
        DocumentAccess::attachTransform(m_Scene, std::move(made), owner);
        fillBody(item, member, std::move(unknown));
    }

    void fillBody(Item& item, const std::array<Index, kItemKeys.size()>& member,
                  std::shared_ptr<UnknownContent> unknown)
    {
        const auto of = [&](ItemKey key) { return member[at(key)]; };
        values(of(ItemKey::Values), *DocumentAccess::blocks(item)[0], *unknown);
        if (of(ItemKey::Packages))
            packages(of(ItemKey::Packages), item, *unknown);
        if (of(ItemKey::Slots))
            slots(of(ItemKey::Slots), item);
        tags(of(ItemKey::Tags), &item);
        data(of(ItemKey::Data), &item);
        keepUnknown(&item, std::move(unknown));
    }

    void values(Index node, const ChannelBlock& block, UnknownContent& unknown)
    {
        if (!node)
            return;
        m_Json.expect(node, JsonKind::Object, "an object");
        for (Index key = m_Doc.first(node); key != m_Doc.next(node); key = m_Doc.next(key + 1)) {
            const int offset = block.layout().find(m_Doc.text(key));
            if (offset >= 0) {
                readChannelValues(m_Json, key + 1, block.channel(offset));
                continue;
            }
            const std::string package = block.package() ? block.package()->name() : std::string();
            const std::string& from = block.package() ? package : block.item().type().name();
            warnOnce("The channel '" + std::string(m_Doc.text(key)) + "' of '" + from
                     + "' is not known here; its values stay in the file.");
            unknown.values.push_back({package, std::string(m_Doc.text(key)), m_Doc.inlineText(key + 1)});
        }
    }

    void packages(Index node, Item& item, UnknownContent& unknown)
    {
        m_Json.expect(node, JsonKind::Array, "an array");
        std::int64_t fileEnd = 0; // by the file's own descriptions: a registered package may have grown since
        if (const Description* own = m_Descriptions.ofType(item.type().name()); own && item.type().base())
            fileEnd = item.type().base()->layout().count() + static_cast<std::int64_t>(own->channels.size());
        else
            fileEnd = item.channelSlotCount();
        for (Index child = m_Doc.first(node); child != m_Doc.next(node); child = m_Doc.next(child)) {
            const auto member = m_Json.members(child, kPackageKeys);
            const Index nameNode = member[at(PackageKey::Name)];
            if (!nameNode)
                m_Json.refuse(child, "the package needs a 'name'");
            const Package& package = m_Descriptions.package(m_Json.string(nameNode), nameNode);
            if (DocumentAccess::blocks(item).size() > kMaximumPackages)
                m_Json.refuse(
                    child, "an item of a file has at most " + std::to_string(kMaximumPackages) + " packages");
            if (item.hasPackage(package.name()))
                m_Json.refuse(nameNode, "the item has this package already; remove one");
            std::int64_t first = item.channelSlotCount();
            if (const Index index = member[at(PackageKey::Index)]) {
                const std::int64_t said =
                    m_Json.integer(index, 0, static_cast<std::int64_t>(kMaximumChannels));
                if (said < fileEnd)
                    m_Json.refuse(index,
                                  "this index belongs to the channels before; the next free one is "
                                      + std::to_string(fileEnd));
                fileEnd = said;
                first = std::max(first, said);
            }
            const Description* own = m_Descriptions.ofPackage(package.name());
            fileEnd += own ? static_cast<std::int64_t>(own->channels.size()) : package.layout().count();
            countChannels(
                child, static_cast<std::size_t>(first - item.channelSlotCount() + package.layout().count()));
            auto made =
                std::make_unique<ChannelBlock>(item, package.layout(), &package, static_cast<int>(first));
            const ChannelBlock& block = *made;
            DocumentAccess::attachBlock(item, std::move(made), DocumentAccess::blocks(item).size());
            values(member[at(PackageKey::Values)], block, unknown);
        }
    }

    // Indices that removed packages left at the end: taken by a block without channels that goes again.
    void slots(Index node, Item& item)
    {
        const std::int64_t count = m_Json.integer(node, 0, static_cast<std::int64_t>(kMaximumChannels));
        const std::int64_t missing = count - item.channelSlotCount();
        if (missing <= 0)
            return; // a package has grown over them
        countChannels(node, static_cast<std::size_t>(missing));
        const ChannelLayout none({});
        const std::size_t place = DocumentAccess::blocks(item).size();
        DocumentAccess::attachBlock(
            item, std::make_unique<ChannelBlock>(item, none, nullptr, static_cast<int>(count)), place);
        (void)DocumentAccess::detachBlock(item, place, static_cast<std::size_t>(count));
    }

    void tags(Index node, Item* item)
    {
        if (!node)
            return;
        m_Json.expect(node, JsonKind::Object, "an object");
        for (Index key = m_Doc.first(node); key != m_Doc.next(node); key = m_Doc.next(key + 1)) {
            if (DocumentAccess::tags(m_Scene, item).all().size() >= kMaximumTags)
                m_Json.refuse(node, "there are more than " + std::to_string(kMaximumTags) + " tags");
            TagCode code = 0;
            if (!readTagKey(m_Doc.text(key), code))
                m_Json.refuse(key + 1,
                              "a tag's key is four printable characters, or 0x and eight small digits");
            auto value = std::make_unique<std::string>(m_Json.string(key + 1));
            DocumentAccess::swapTag(DocumentAccess::tags(m_Scene, item), code, value);
        }
    }

    void data(Index node, Item* item)
    {
        if (!node)
            return;
        m_Json.expect(node, JsonKind::Object, "an object");
        for (Index key = m_Doc.first(node); key != m_Doc.next(node); key = m_Doc.next(key + 1)) {
            const std::string kind(m_Doc.text(key));
            if (kind.empty() || kind == kUnknownDataKind || !isStorableText(kind))
                m_Json.refuse(key + 1, "data of this name can't stand in a file; rename it");
            if (DocumentAccess::data(m_Scene, item).all().size() >= kMaximumTags)
                m_Json.refuse(node, "there are more than " + std::to_string(kMaximumTags) + " kinds of data");
            std::shared_ptr<const DocumentData> content = readData(kind, key + 1);
            DocumentAccess::swapData(DocumentAccess::data(m_Scene, item), kind, content);
        }
    }

    std::shared_ptr<const DocumentData> readData(const std::string& kind, Index node)
    {
        const DataKind* reader = DataKinds::of(m_Host).find(kind);
        if (!reader)
            return std::make_shared<UnknownData>(m_Doc.inlineText(node));
        m_Json.expect(node, JsonKind::Object, "an object");
        StoredData stored;
        for (Index key = m_Doc.first(node); key != m_Doc.next(node); key = m_Doc.next(key + 1)) {
            const std::string text = m_Json.string(key + 1);
            if (m_Doc.text(key) != kBytesKey) {
                stored.facts.emplace_back(m_Doc.text(key), text);
                continue;
            }
            std::optional<std::string> bytes = formats::base64Bytes(text);
            if (!bytes)
                m_Json.refuse(key + 1, "the bytes are no base64; the file was changed or cut");
            stored.bytes = std::move(*bytes);
        }
        auto content = reader->read(stored);
        if (!content.ok())
            m_Json.refuse(node, content.message);
        return std::move(content.value);
    }

    void keepUnknown(Item* item, std::shared_ptr<UnknownContent> unknown)
    {
        if (unknown->empty())
            return;
        std::shared_ptr<const DocumentData> content = std::move(unknown);
        DocumentAccess::swapData(DocumentAccess::data(m_Scene, item), kUnknownDataKind, content);
    }

    /// The elements of a link, which is an array of so many.
    std::vector<Index> linkParts(Index node, std::size_t count) const
    {
        m_Json.expect(node, JsonKind::Array, "an array");
        std::vector<Index> parts;
        for (Index child = m_Doc.first(node); child != m_Doc.next(node); child = m_Doc.next(child)) {
            if (parts.size() == count)
                m_Json.refuse(node, "a link here has " + std::to_string(count) + " parts");
            parts.push_back(child);
        }
        if (parts.size() != count)
            m_Json.refuse(node, "a link here has " + std::to_string(count) + " parts");
        return parts;
    }

    Item& linkedItem(Index node) const
    {
        const auto id = m_Json.integer(node, 1, static_cast<std::int64_t>(kMaximumItemId));
        Item* item = m_Scene.find(static_cast<ItemId>(id));
        if (!item)
            m_Json.refuse(node, "no item of the file has this identifier");
        return *item;
    }

    template <class Node>
    void attachLink(LinkGraph<Node>& graph, Node& from, Node& to, Index node) const
    {
        if (graph.contains(from, to))
            m_Json.refuse(node, "this link stands twice; remove one");
        DocumentAccess::attachLink(graph, from, to, graph.forward(from).size(), graph.reverse(to).size());
    }

    void graphs(Index node)
    {
        m_Json.expect(node, JsonKind::Object, "an object");
        for (Index key = m_Doc.first(node); key != m_Doc.next(node); key = m_Doc.next(key + 1)) {
            if (!isStorableText(m_Doc.text(key)))
                m_Json.refuse(key + 1, "a graph's name can't hold a zero character");
            // The scene owns its graphs; reading hands them out for reading only.
            auto& graph = const_cast<ItemGraph&>(m_Scene.graph(m_Doc.text(key)));
            const Index list = key + 1;
            m_Json.expect(list, JsonKind::Array, "an array");
            for (Index link = m_Doc.first(list); link != m_Doc.next(list); link = m_Doc.next(link)) {
                const std::vector<Index> parts = linkParts(link, 2);
                attachLink(graph, linkedItem(parts[0]), linkedItem(parts[1]), link);
            }
        }
    }

    void channelLinks(Index node)
    {
        m_Json.expect(node, JsonKind::Array, "an array");
        for (Index link = m_Doc.first(node); link != m_Doc.next(node); link = m_Doc.next(link)) {
            const std::vector<Index> parts = linkParts(link, 4);
            Channel* from = linkedChannel(parts[0], parts[1]);
            Channel* to = linkedChannel(parts[2], parts[3]);
            if (from && to)
                attachLink(DocumentAccess::channelGraph(m_Scene), *from, *to, link);
        }
    }

    // Null for a channel that the file describes and the registered package has no more.
    Channel* linkedChannel(Index itemNode, Index node)
    {
        Item& item = linkedItem(itemNode);
        if (m_Doc.kind(node) == JsonKind::Number) {
            Channel* channel =
                item.channel(static_cast<int>(m_Json.integer(node, 0, std::numeric_limits<int>::max())));
            if (!channel)
                m_Json.refuse(node, "'" + item.label() + "' has no channel of this index");
            return channel;
        }
        const std::string name = m_Json.string(node);
        if (Channel* channel = item.channel(name))
            return channel;
        bool described = false;
        for (const ItemType* type = &item.type(); type; type = type->base()) {
            const Description* own = m_Descriptions.ofType(type->name());
            described = described || (own && own->hasChannel(name));
        }
        for (const Package* package : item.packages()) {
            const Description* own = m_Descriptions.ofPackage(package->name());
            described = described || (own && own->hasChannel(name));
        }
        if (!described)
            m_Json.refuse(node, "'" + item.label() + "' has no channel '" + name + "'");
        warnOnce("A link of '" + item.label() + "." + name
                 + "' is left out: the module that is loaded has no such channel any more.");
        return nullptr;
    }

    void warnOnce(std::string text)
    {
        if (m_Warned.insert(text).second)
            m_Warnings.push_back(std::move(text));
    }

    const JsonAccess m_Json;
    const JsonDocument& m_Doc;
    Scene& m_Scene;
    Host& m_Host;
    Descriptions m_Descriptions;
    std::vector<Record> m_Records;
    std::unordered_map<ItemId, std::size_t> m_ById;
    std::set<std::string> m_UniqueNames;
    std::size_t m_ChannelCount = 0;
    std::vector<std::string> m_Warnings; // told when all went well
    std::set<std::string> m_Warned;
};

} // namespace

ResultOf<std::unique_ptr<Scene>> readSceneText(Host& host, std::string_view text, std::string name)
{
    using Answer = ResultOf<std::unique_ptr<Scene>>;
    if (text.size() > kMaximumSceneBytes)
        return Answer::failure("the text is larger than 1 GiB; a scene file can't be");
    JsonDocument document;
    if (std::string fault = readJson(text, kMaximumJsonLevels, document); !fault.empty())
        return Answer::failure(std::move(fault));
    std::unique_ptr<Scene> scene = host.makeScene(std::move(name));
    try {
        const LoadingScope loading(scene->journal());
        SceneReader(document, *scene).read();
    } catch (const SceneFileFault& fault) {
        return Answer::failure(fault.text);
    }
    return {std::move(scene), {}};
}

} // namespace refhost
