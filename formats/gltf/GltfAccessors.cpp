// SPDX-License-Identifier: MIT
// The accessors of a glTF file: every range is checked once, then their elements can be decoded.
#include "gltf/GltfAccessors.h"

#include "bvh/BvhText.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace formats {

namespace {

static_assert(std::endian::native == std::endian::little, "elements are copied as they stand in the file");

struct ComponentRow {
    std::uint64_t code;
    GltfComponent component;
    std::size_t size;
    double largest; // what normalised 1 is stored as
};

constexpr ComponentRow kComponents[] = {
    {5120, GltfComponent::Byte, 1, 127},
    {5121, GltfComponent::UnsignedByte, 1, 255},
    {5122, GltfComponent::Short, 2, 32767},
    {5123, GltfComponent::UnsignedShort, 2, 65535},
    {5125, GltfComponent::UnsignedInt, 4, 4294967295.0},
    {5126, GltfComponent::Float, 4, 1},
};

struct TypeRow {
    std::string_view name;
    std::size_t count;
    std::size_t columns; // of a matrix, each padded to four bytes; 0 for a vector
};

constexpr TypeRow kTypes[] = {{"SCALAR", 1, 0}, {"VEC2", 2, 0}, {"VEC3", 3, 0}, {"VEC4", 4, 0},
                              {"MAT2", 4, 2},   {"MAT3", 9, 3}, {"MAT4", 16, 4}};

constexpr std::uint64_t kMostElements = std::uint64_t{1} << 32;
constexpr std::uint64_t kMostBytes = std::uint64_t{1} << 40;
constexpr std::uint64_t kLeastStride = 4;
constexpr std::uint64_t kMostStride = 252;
// Decoding turns a byte into eight at most; the rest is for data that several objects share.
constexpr std::uint64_t kBudgetPerByte = 16;
constexpr std::uint64_t kLeastBudget = std::uint64_t{48} << 20;

const ComponentRow& rowOf(GltfComponent component)
{
    return kComponents[static_cast<std::size_t>(component)];
}

const ComponentRow& readComponent(const JsonView& view)
{
    const std::uint64_t code = view.integer(~std::uint64_t{0});
    for (const ComponentRow& row : kComponents)
        if (row.code == code)
            return row;
    refuse(view.path(), "is " + std::to_string(code) + ", which is no component type of glTF 2.0");
}

const TypeRow& readType(const JsonView& view)
{
    for (const TypeRow& row : kTypes)
        if (row.name == view.text())
            return row;
    refuse(view.path(), formats::quoted(view.text()) + " is no type of glTF 2.0");
}

template <class T>
T loaded(const char* at)
{
    T value{};
    std::memcpy(&value, at, sizeof value);
    return value;
}

double component(GltfComponent kind, const char* at)
{
    switch (kind) {
    case GltfComponent::Byte:
        return loaded<std::int8_t>(at);
    case GltfComponent::UnsignedByte:
        return loaded<std::uint8_t>(at);
    case GltfComponent::Short:
        return loaded<std::int16_t>(at);
    case GltfComponent::UnsignedShort:
        return loaded<std::uint16_t>(at);
    case GltfComponent::UnsignedInt:
        return loaded<std::uint32_t>(at);
    default:
        return loaded<float>(at);
    }
}

/// f = max(c / largest, -1), as glTF defines normalised integers.
double normalisedComponent(GltfComponent kind, const char* at)
{
    return std::max(component(kind, at) / rowOf(kind).largest, -1.0);
}

} // namespace

GltfAccessors::GltfAccessors(const JsonView& root, const GltfSource& source)
{
    std::uint64_t bytes = 0;
    for (const auto& stored : source.storage)
        bytes += stored->size();
    m_Budget = kLeastBudget + kBudgetPerByte * bytes;
    readViews(root, source);
    const std::optional<JsonView> accessors = root.find("accessors");
    for (std::size_t i = 0; accessors && i < accessors->size(); ++i)
        m_Accessors.push_back(readAccessor((*accessors)[i]));
}

void GltfAccessors::readViews(const JsonView& root, const GltfSource& source)
{
    const std::optional<JsonView> views = root.find("bufferViews");
    for (std::size_t i = 0; views && i < views->size(); ++i) {
        const JsonView view = (*views)[i];
        const std::string_view buffer =
            source.buffers[view.at("buffer").index(source.buffers.size(), "buffers")];
        const std::uint64_t offset = view.integerOr("byteOffset", 0, kMostBytes);
        const std::uint64_t length = view.at("byteLength").integer(kMostBytes);
        if (offset + length > buffer.size()) // neither is large enough for the sum to wrap
            refuse(view.path(),
                   "ends at byte " + std::to_string(offset + length) + " of a buffer of "
                       + std::to_string(buffer.size()) + " bytes");
        const std::uint64_t stride = view.integerOr("byteStride", 0, kMostStride);
        if (stride != 0 && stride < kLeastStride)
            refuse(view.path() + ".byteStride",
                   "is " + std::to_string(stride) + ", but must be from 4 to 252");
        m_Views.push_back({buffer.substr(static_cast<std::size_t>(offset), static_cast<std::size_t>(length)),
                           static_cast<std::size_t>(stride)});
    }
}

/// The part of a buffer view that `count` elements of `size` bytes take; `stride` becomes theirs.
std::string_view GltfAccessors::range(const JsonView& owner, std::size_t size, std::size_t count,
                                      std::size_t& stride, std::size_t alignment) const
{
    const View& view = m_Views[owner.at("bufferView").index(m_Views.size(), "bufferViews")];
    const std::uint64_t offset = owner.integerOr("byteOffset", 0, kMostBytes);
    if (offset % alignment != 0)
        refuse(owner.path() + ".byteOffset",
               "is " + std::to_string(offset) + ", but must be a multiple of the component's size, "
                   + std::to_string(alignment));
    stride = view.stride == 0 ? size : view.stride;
    if (stride < size)
        refuse(owner.path(),
               "has elements of " + std::to_string(size) + " bytes, but its bufferView's byteStride is "
                   + std::to_string(stride));
    // At most 2^40 + 2^8 * 2^32.
    const std::uint64_t end = offset + (count == 0 ? 0 : std::uint64_t{stride} * (count - 1) + size);
    if (end > view.bytes.size())
        refuse(owner.path(),
               "ends at byte " + std::to_string(end) + " of a bufferView of "
                   + std::to_string(view.bytes.size()) + " bytes");
    return view.bytes.substr(static_cast<std::size_t>(offset), static_cast<std::size_t>(end - offset));
}

GltfAccessor GltfAccessors::readAccessor(const JsonView& view) const
{
    GltfAccessor accessor;
    accessor.path = view.path();
    const ComponentRow& component = readComponent(view.at("componentType"));
    const TypeRow& type = readType(view.at("type"));
    accessor.component = component.component;
    accessor.type = type.name;
    accessor.componentCount = type.count;
    // Columns of matrices start at multiples of four bytes.
    accessor.elementSize = type.columns == 0
        ? type.count * component.size
        : type.columns * ((type.count / type.columns * component.size + 3) / 4 * 4);
    const JsonView count = view.at("count");
    accessor.count = static_cast<std::size_t>(count.integer(kMostElements));
    if (accessor.count == 0)
        refuse(count.path(), "is 0; an accessor has one element at least");
    if (const std::optional<JsonView> normalised = view.find("normalized"))
        accessor.normalised = normalised->boolean() && accessor.component != GltfComponent::Float;
    if (view.find("bufferView"))
        accessor.bytes = range(view, accessor.elementSize, accessor.count, accessor.stride, component.size);
    if (const std::optional<JsonView> sparse = view.find("sparse"))
        readSparse(*sparse, accessor);
    return accessor;
}

void GltfAccessors::readSparse(const JsonView& view, GltfAccessor& accessor) const
{
    accessor.sparseCount = static_cast<std::size_t>(view.at("count").integer(accessor.count));
    const JsonView indices = view.at("indices");
    const JsonView kind = indices.at("componentType");
    const ComponentRow& component = readComponent(kind);
    if (component.component != GltfComponent::UnsignedByte
        && component.component != GltfComponent::UnsignedShort
        && component.component != GltfComponent::UnsignedInt)
        refuse(kind.path(), "must be an unsigned whole number");
    accessor.sparseComponent = component.component;
    std::size_t stride = 0;
    accessor.sparseIndices = range(indices, component.size, accessor.sparseCount, stride, component.size);
    if (stride != component.size && accessor.sparseCount > 0)
        refuse(indices.path(), "lies in a bufferView with a byteStride, which indices cannot have");
    accessor.sparseValues = range(view.at("values"), accessor.elementSize, accessor.sparseCount, stride,
                                  rowOf(accessor.component).size);
    if (stride != accessor.elementSize && accessor.sparseCount > 0)
        refuse(view.path() + ".values",
               "lies in a bufferView with a byteStride, which these values cannot have");
}

const GltfAccessor& GltfAccessors::named(const JsonView& user, std::string_view types) const
{
    const GltfAccessor& accessor = m_Accessors[user.index(m_Accessors.size(), "accessors")];
    if (("," + std::string(types) + ",").find("," + accessor.type + ",") == std::string::npos)
        refuse(user.path(),
               "names " + accessor.path + ", which has elements of type " + accessor.type + "; "
                   + std::string(types) + " is needed here");
    return accessor;
}

void GltfAccessors::spend(const std::string& path, std::uint64_t bytes)
{
    if (bytes > m_Budget)
        refuse(path,
               "asks for more than the bytes of the file can mean; counts are absurd, or the same data is "
               "used too often");
    m_Budget -= bytes;
}

template <class T, class Read>
std::vector<T> GltfAccessors::decode(const GltfAccessor& accessor, std::span<const std::uint32_t> places,
                                     Read read)
{
    const std::size_t count = places.empty() ? accessor.count : places.size();
    const std::size_t width = accessor.componentCount;
    spend(accessor.path, std::uint64_t{count} * width * sizeof(T) + accessor.sparseCount);
    const std::size_t size = rowOf(accessor.component).size;
    const auto readElement = [&](const char* at, T* out) {
        // Only matrices of floats are ever decoded, and their columns have no padding.
        for (std::size_t c = 0; c < width; ++c)
            out[c] = read(at + c * size);
    };
    std::vector<T> values(count * width);
    for (std::size_t i = 0; i < count && !accessor.bytes.empty(); ++i)
        readElement(accessor.bytes.data() + (places.empty() ? i : places[i]) * accessor.stride,
                    &values[i * width]);
    std::uint64_t next = 0;
    const std::size_t indexSize = rowOf(accessor.sparseComponent).size;
    for (std::size_t s = 0, place = 0; s < accessor.sparseCount; ++s) {
        const auto index = static_cast<std::uint64_t>(
            component(accessor.sparseComponent, accessor.sparseIndices.data() + s * indexSize));
        if (index < next || index >= accessor.count)
            refuse(accessor.path + ".sparse.indices",
                   "number " + std::to_string(s) + " is " + std::to_string(index)
                       + "; they must rise and stay below " + std::to_string(accessor.count));
        next = index + 1;
        if (places.empty())
            place = static_cast<std::size_t>(index);
        else
            while (place < count && places[place] < index)
                ++place;
        if (place < count && (places.empty() || places[place] == index))
            readElement(accessor.sparseValues.data() + s * accessor.elementSize, &values[place * width]);
    }
    return values;
}

namespace {

template <class T>
std::vector<T> finite(std::vector<T> values, const GltfAccessor& accessor)
{
    const auto bad = std::find_if(values.begin(), values.end(),
                                  [](T value) { return !(std::abs(value) <= T(kLargestValue)); });
    if (bad != values.end())
        refuse(accessor.path,
               "element "
                   + std::to_string(static_cast<std::size_t>(bad - values.begin()) / accessor.componentCount)
                   + (std::isfinite(*bad) ? " is larger than any motion" : " is not a finite number"));
    return values;
}

} // namespace

std::vector<double> GltfAccessors::doubles(const GltfAccessor& accessor)
{
    const GltfComponent kind = accessor.component;
    if (accessor.normalised)
        return decode<double>(accessor, {}, [kind](const char* at) { return normalisedComponent(kind, at); });
    return finite(decode<double>(accessor, {}, [kind](const char* at) { return component(kind, at); }),
                  accessor);
}

std::vector<float> GltfAccessors::floats(const GltfAccessor& accessor, std::span<const std::uint32_t> places)
{
    const GltfComponent kind = accessor.component;
    if (accessor.normalised)
        return decode<float>(accessor, places, [kind](const char* at) {
            return static_cast<float>(normalisedComponent(kind, at));
        });
    return finite(decode<float>(accessor, places,
                                [kind](const char* at) { return static_cast<float>(component(kind, at)); }),
                  accessor);
}

std::vector<std::uint32_t> GltfAccessors::integers(const GltfAccessor& accessor,
                                                   std::span<const std::uint32_t> places)
{
    switch (accessor.component) {
    case GltfComponent::UnsignedByte:
        return decode<std::uint32_t>(accessor, places,
                                     [](const char* at) { return loaded<std::uint8_t>(at); });
    case GltfComponent::UnsignedShort:
        return decode<std::uint32_t>(accessor, places,
                                     [](const char* at) { return loaded<std::uint16_t>(at); });
    case GltfComponent::UnsignedInt:
        return decode<std::uint32_t>(accessor, places,
                                     [](const char* at) { return loaded<std::uint32_t>(at); });
    default:
        refuse(accessor.path, "must hold unsigned whole numbers where it is used");
    }
}

} // namespace formats
