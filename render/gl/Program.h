// SPDX-License-Identifier: MIT
// Shader programs and vertex buffers of OpenGL, freed with their owner.
#pragma once

#include <epoxy/gl.h>

#include <array>
#include <cstddef>
#include <span>

namespace render {

/// A column-major 4x4 matrix as OpenGL takes it.
using GlMatrix = std::array<float, 16>;

class Program {
public:
    /// Throws RenderError with the compiler's words.
    Program(const char* vertexSource, const char* fragmentSource);
    ~Program();

    void use() const { glUseProgram(m_Program); }
    void set(const char* name, const GlMatrix& value) const;
    void set(const char* name, float value) const;
    void set(const char* name, float x, float y) const;
    void set(const char* name, float x, float y, float z) const;
    void set(const char* name, const std::array<float, 4>& value) const;

    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

private:
    GLint place(const char* name) const { return glGetUniformLocation(m_Program, name); }

    GLuint m_Program;
};

/// One field of a vertex or of an instance.
struct Field {
    GLint components;
    std::size_t offset; ///< bytes
    bool isInteger = false;
};

/// Vertices, or instances of a quad of four corners, refilled for each drawing.
class Buffer {
public:
    /// Fields take the places 0, 1, 2... in the shader.
    Buffer(std::span<const Field> fields, std::size_t stride, bool instanced);
    ~Buffer();

    void drawTriangles(const void* data, std::size_t count) const;
    void drawQuads(const void* data, std::size_t instances) const;

    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;

private:
    void fill(const void* data, std::size_t count) const;

    GLuint m_Array = 0, m_Buffer = 0;
    std::size_t m_Stride;
};

} // namespace render
