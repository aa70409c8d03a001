// SPDX-License-Identifier: MIT
// The accessors of a glTF file: every range is checked once, then their elements can be decoded.
#pragma once

#include "gltf/GltfContainer.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace formats {

enum class GltfComponent : std::uint8_t { Byte, UnsignedByte, Short, UnsignedShort, UnsignedInt, Float };

struct GltfAccessor {
    std::string path; // in the JSON, for messages
    GltfComponent component = GltfComponent::Float;
    std::string type; // SCALAR, VEC3, ...
    std::size_t componentCount = 1; // of an element
    std::size_t elementSize = 4; // bytes
    bool normalised = false;
    std::size_t count = 0;
    std::string_view bytes; // from the first element on; empty means zeros
    std::size_t stride = 0;
    std::size_t sparseCount = 0;
    GltfComponent sparseComponent = GltfComponent::UnsignedInt;
    std::string_view sparseIndices;
    std::string_view sparseValues;
};

/// All accessors of a file, and the decoding of their elements. A budget that grows with the bytes of the
/// file bounds what all decoding together may take: elements can be shared, or not be there at all, so that
/// counts alone say nothing.
class GltfAccessors {
public:
    /// Throws GltfRefusal where a range or a type is wrong.
    GltfAccessors(const JsonView& root, const GltfSource& source);

    std::size_t count() const { return m_Accessors.size(); }
    const GltfAccessor& operator[](std::size_t index) const { return m_Accessors[index]; }

    /// The accessor that a value names; `user` is told when it does not have one of these types (with commas
    /// between them).
    const GltfAccessor& named(const JsonView& user, std::string_view types) const;

    /// All elements, components in a row; normalised integers from -1 or 0 to 1. Refuses what isn't finite.
    std::vector<double> doubles(const GltfAccessor& accessor);
    /// The elements at these rising places, or all where there are none.
    std::vector<float> floats(const GltfAccessor& accessor, std::span<const std::uint32_t> places);
    /// Whole numbers; refuses other components.
    std::vector<std::uint32_t> integers(const GltfAccessor& accessor, std::span<const std::uint32_t> places);

    /// Takes bytes from the budget; refuses when there are no more.
    void spend(const std::string& path, std::uint64_t bytes);

private:
    struct View {
        std::string_view bytes;
        std::size_t stride = 0;
    };

    void readViews(const JsonView& root, const GltfSource& source);
    GltfAccessor readAccessor(const JsonView& view) const;
    void readSparse(const JsonView& view, GltfAccessor& accessor) const;
    std::string_view range(const JsonView& owner, std::size_t size, std::size_t count, std::size_t& stride,
                           std::size_t alignment) const;
    template <class T, class Read>
    std::vector<T> decode(const GltfAccessor& accessor, std::span<const std::uint32_t> places, Read read);

    std::vector<View> m_Views;
    std::vector<GltfAccessor> m_Accessors;
    std::uint64_t m_Budget = 0;
};

} // namespace formats
