// SPDX-License-Identifier: MIT
// Sources of the shaders. Colours come as a screen shows them; only lighting works in linear light.
#pragma once

namespace render {

inline constexpr const char* kBackgroundVertex = R"(#version 330 core
out float v_height;
void main()
{
    vec2 corner = vec2(gl_VertexID == 1 ? 3.0 : -1.0, gl_VertexID == 2 ? 3.0 : -1.0);
    v_height = corner.y * 0.5 + 0.5;
    gl_Position = vec4(corner, 1.0, 1.0);
})";
inline constexpr const char* kBackgroundFragment = R"(#version 330 core
in float v_height;
uniform vec4 top, bottom;
out vec4 colour;
void main() { colour = mix(bottom, top, smoothstep(0.0, 1.0, v_height)); })";

// The floor is one square; its lines are found pixel by pixel, so that they stay even far away.
inline constexpr const char* kFloorVertex = R"(#version 330 core
layout(location = 0) in vec3 position;
uniform mat4 viewProjection;
out vec3 v_world;
void main()
{
    v_world = position;
    gl_Position = viewProjection * vec4(position, 1.0);
})";
inline constexpr const char* kFloorFragment = R"(#version 330 core
in vec3 v_world;
uniform float spacing, reach;
uniform vec3 centre;
uniform float upIsZ;
out vec4 colour;
float lines(vec2 p, float width)
{
    vec2 pixel = max(fwidth(p), vec2(1e-6));
    vec2 away = abs(fract(p - 0.5) - 0.5) / pixel;
    vec2 line = clamp(width * 0.5 + 0.5 - away, 0.0, 1.0) * clamp(0.6 / max(pixel.x, pixel.y) - 0.5, 0.0, 1.0);
    return max(line.x, line.y);
}
float axis(float p, float width)
{
    return clamp(width * 0.5 + 0.5 - abs(p) / max(fwidth(p), 1e-9), 0.0, 1.0);
}
void main()
{
    vec2 p = upIsZ > 0.5 ? v_world.xy : v_world.xz;
    vec2 c = upIsZ > 0.5 ? centre.xy : centre.xz;
    float fade = 1.0 - smoothstep(0.25, 1.0, length(p - c) / reach);
    float thin = lines(p / spacing, 1.0) * 0.22, thick = lines(p / (spacing * 5.0), 1.3) * 0.32;
    vec4 base = vec4(0.25, 0.29, 0.36, max(thin, thick) + 0.05);
    float alongX = axis(p.y, 2.0), alongOther = axis(p.x, 2.0);
    base = mix(base, vec4(0.80, 0.27, 0.27, 0.75), alongX);
    base = mix(base, upIsZ > 0.5 ? vec4(0.30, 0.65, 0.30, 0.75) : vec4(0.27, 0.43, 0.85, 0.75), alongOther);
    colour = vec4(base.rgb, base.a * fade);
})";

inline constexpr const char* kSolidVertex = R"(#version 330 core
layout(location = 0) in vec3 position;
layout(location = 1) in vec3 normal;
layout(location = 2) in vec4 tint;
uniform mat4 viewProjection;
out vec3 v_normal, v_world;
out vec4 v_tint;
void main()
{
    v_normal = normal;
    v_world = position;
    v_tint = tint;
    gl_Position = viewProjection * vec4(position, 1.0);
})";
// A bright light from above the viewer, sky and floor light, a soft gloss, and a rim that parts limbs from
// each other.
inline constexpr const char* kSolidFragment = R"(#version 330 core
in vec3 v_normal, v_world;
in vec4 v_tint;
uniform vec3 light, up, eye, toViewer;
uniform float perspective;
out vec4 colour;
void main()
{
    vec3 viewer = perspective > 0.5 ? normalize(eye - v_world) : toViewer;
    vec3 n = normalize(v_normal);
    if (dot(n, viewer) < 0.0)
        n = -n;
    vec3 albedo = pow(v_tint.rgb, vec3(2.2));
    float direct = max(dot(n, light) * 0.8 + 0.2, 0.0);
    vec3 sky = mix(vec3(0.20, 0.19, 0.18), vec3(0.42, 0.45, 0.50), dot(n, up) * 0.5 + 0.5);
    float gloss = pow(max(dot(n, normalize(light + viewer)), 0.0), 40.0) * 0.12;
    float rim = pow(1.0 - max(dot(n, viewer), 0.0), 3.0);
    vec3 lit = albedo * (sky + vec3(0.80, 0.78, 0.74) * direct) + gloss;
    lit *= 1.0 - 0.35 * rim;
    colour = vec4(pow(lit, vec3(1.0 / 2.2)), v_tint.a);
})";

// Solids pressed onto the floor along the light.
inline constexpr const char* kShadowVertex = R"(#version 330 core
layout(location = 0) in vec3 position;
uniform mat4 viewProjection;
uniform vec3 light, up;
uniform float floorHeight;
out float v_height;
void main()
{
    float height = dot(position, up) - floorHeight;
    v_height = height;
    gl_Position = viewProjection * vec4(position - light * (height / dot(light, up)), 1.0);
})";
inline constexpr const char* kShadowFragment = R"(#version 330 core
in float v_height;
uniform vec4 tint;
out vec4 colour;
void main()
{
    if (v_height < 0.0)
        discard;
    colour = tint;
})";

inline constexpr const char* kFlatVertex = R"(#version 330 core
layout(location = 0) in vec3 position;
layout(location = 1) in vec4 tint;
uniform mat4 viewProjection;
out vec4 v_tint;
void main()
{
    v_tint = tint;
    gl_Position = viewProjection * vec4(position, 1.0);
})";
inline constexpr const char* kFlatFragment = R"(#version 330 core
in vec4 v_tint;
out vec4 colour;
void main() { colour = v_tint; })";

// A segment is a quad in pixels; what lies behind the eye is cut off first.
inline constexpr const char* kSegmentVertex = R"(#version 330 core
layout(location = 0) in vec3 from;
layout(location = 1) in vec3 to;
layout(location = 2) in vec4 tint;
layout(location = 3) in float width;
layout(location = 4) in uint dashes;
uniform mat4 viewProjection;
uniform vec2 halfSize;
uniform float scale, nearest, nearer;
noperspective out vec2 v_pixel;
flat out float v_half;
flat out uint v_dashes;
out vec4 v_tint;
void main()
{
    vec4 a = viewProjection * vec4(from, 1.0), b = viewProjection * vec4(to, 1.0);
    v_tint = tint;
    v_dashes = dashes;
    v_half = max(width * scale * 0.5, 0.5);
    v_pixel = vec2(0.0);
    if (a.w < nearest && b.w < nearest) {
        gl_Position = vec4(2.0, 2.0, 2.0, 1.0);
        return;
    }
    if (a.w < nearest)
        a = mix(a, b, (nearest - a.w) / (b.w - a.w));
    if (b.w < nearest)
        b = mix(b, a, (nearest - b.w) / (a.w - b.w));
    vec2 pa = a.xy / a.w * halfSize, pb = b.xy / b.w * halfSize;
    float size = distance(pa, pb);
    vec2 along = size > 1e-5 ? (pb - pa) / size : vec2(1.0, 0.0);
    vec2 across = vec2(-along.y, along.x);
    float end = float(gl_VertexID & 1), side = float(gl_VertexID >> 1) * 2.0 - 1.0;
    float wide = v_half + 1.0;
    vec2 p = mix(pa, pb, end) + across * side * wide;
    v_pixel = vec2(end * size, side * wide);
    vec4 c = end > 0.5 ? b : a;
    gl_Position = vec4(p / halfSize * c.w, c.z - nearer * c.w, c.w);
})";
inline constexpr const char* kSegmentFragment = R"(#version 330 core
noperspective in vec2 v_pixel;
flat in float v_half;
flat in uint v_dashes;
in vec4 v_tint;
uniform float scale;
out vec4 colour;
void main()
{
    uint place = uint(v_pixel.x / (2.0 * scale)) & 15u;
    if (((v_dashes >> place) & 1u) == 0u)
        discard;
    colour = vec4(v_tint.rgb, v_tint.a * clamp(v_half + 0.5 - abs(v_pixel.y), 0.0, 1.0));
})";

inline constexpr const char* kPointVertex = R"(#version 330 core
layout(location = 0) in vec3 position;
layout(location = 1) in vec4 tint;
layout(location = 2) in float size;
uniform mat4 viewProjection;
uniform vec2 halfSize;
uniform float scale, nearest, nearer;
noperspective out vec2 v_pixel;
flat out float v_half;
out vec4 v_tint;
void main()
{
    vec4 c = viewProjection * vec4(position, 1.0);
    v_tint = tint;
    v_half = max(size * scale * 0.5, 0.5);
    vec2 corner = vec2(float(gl_VertexID & 1), float(gl_VertexID >> 1)) * 2.0 - 1.0;
    v_pixel = corner * (v_half + 1.0);
    gl_Position = c.w < nearest ? vec4(2.0, 2.0, 2.0, 1.0)
                                : vec4(c.xy + v_pixel / halfSize * c.w, c.z - nearer * c.w, c.w);
})";
inline constexpr const char* kPointFragment = R"(#version 330 core
noperspective in vec2 v_pixel;
flat in float v_half;
in vec4 v_tint;
out vec4 colour;
void main() { colour = vec4(v_tint.rgb, v_tint.a * clamp(v_half + 0.5 - length(v_pixel), 0.0, 1.0)); })";

} // namespace render
