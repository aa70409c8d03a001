// SPDX-License-Identifier: MIT
// Compiles shaders, fills buffers.
#include "gl/Program.h"

#include "render/Renderer.h"

#include <string>

namespace render {
namespace {

GLuint compile(GLenum kind, const char* source)
{
    const GLuint shader = glCreateShader(kind);
    glShaderSource(shader, 1, &source, nullptr);
    glCompileShader(shader);
    GLint good = 0;
    glGetShaderiv(shader, GL_COMPILE_STATUS, &good);
    if (!good) {
        char log[2000] = "";
        glGetShaderInfoLog(shader, sizeof log, nullptr, log);
        glDeleteShader(shader);
        throw RenderError(std::string("the graphics driver refused a shader: ") + log);
    }
    return shader;
}

} // namespace

Program::Program(const char* vertexSource, const char* fragmentSource) : m_Program(glCreateProgram())
{
    for (const GLuint shader :
         {compile(GL_VERTEX_SHADER, vertexSource), compile(GL_FRAGMENT_SHADER, fragmentSource)}) {
        glAttachShader(m_Program, shader);
        glDeleteShader(shader);
    }
    glLinkProgram(m_Program);
    GLint good = 0;
    glGetProgramiv(m_Program, GL_LINK_STATUS, &good);
    if (!good) {
        char log[2000] = "";
        glGetProgramInfoLog(m_Program, sizeof log, nullptr, log);
        glDeleteProgram(m_Program);
        throw RenderError(std::string("the graphics driver refused to link a shader: ") + log);
    }
}

Program::~Program() { glDeleteProgram(m_Program); }

void Program::set(const char* name, const GlMatrix& value) const
{
    glUniformMatrix4fv(place(name), 1, GL_FALSE, value.data());
}
void Program::set(const char* name, float value) const { glUniform1f(place(name), value); }
void Program::set(const char* name, float x, float y) const { glUniform2f(place(name), x, y); }
void Program::set(const char* name, float x, float y, float z) const { glUniform3f(place(name), x, y, z); }
void Program::set(const char* name, const std::array<float, 4>& value) const
{
    glUniform4fv(place(name), 1, value.data());
}

Buffer::Buffer(std::span<const Field> fields, std::size_t stride, bool instanced) : m_Stride(stride)
{
    glGenVertexArrays(1, &m_Array);
    glGenBuffers(1, &m_Buffer);
    glBindVertexArray(m_Array);
    glBindBuffer(GL_ARRAY_BUFFER, m_Buffer);
    GLuint place = 0;
    for (const Field& field : fields) {
        const auto* offset = reinterpret_cast<const void*>(field.offset);
        glEnableVertexAttribArray(place);
        if (field.isInteger)
            glVertexAttribIPointer(place, field.components, GL_UNSIGNED_INT, static_cast<GLsizei>(stride),
                                   offset);
        else
            glVertexAttribPointer(place, field.components, GL_FLOAT, GL_FALSE, static_cast<GLsizei>(stride),
                                  offset);
        glVertexAttribDivisor(place, instanced ? 1 : 0);
        ++place;
    }
}

Buffer::~Buffer()
{
    glDeleteBuffers(1, &m_Buffer);
    glDeleteVertexArrays(1, &m_Array);
}

void Buffer::fill(const void* data, std::size_t count) const
{
    glBindVertexArray(m_Array);
    glBindBuffer(GL_ARRAY_BUFFER, m_Buffer);
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(count * m_Stride), data, GL_STREAM_DRAW);
}

void Buffer::drawTriangles(const void* data, std::size_t count) const
{
    if (count == 0)
        return;
    fill(data, count);
    glDrawArrays(GL_TRIANGLES, 0, static_cast<GLsizei>(count));
}

void Buffer::drawQuads(const void* data, std::size_t instances) const
{
    if (instances == 0)
        return;
    fill(data, instances);
    glDrawArraysInstanced(GL_TRIANGLE_STRIP, 0, 4, static_cast<GLsizei>(instances));
}

} // namespace render
