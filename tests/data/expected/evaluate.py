#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Works out where the joints of our example characters are, by a reader that shares nothing with the project's, and
writes one JSON file each next to this one. The tests of the readers compare with them. Run it again after
examples/characters/make_characters.py."""

import base64
import json
import math
import pathlib
import struct

HERE = pathlib.Path(__file__).resolve().parent
FILES = HERE.parents[2] / "examples" / "characters"
ONE = [[float(r == c) for c in range(4)] for r in range(4)]


def mul(*matrices):
    out = ONE
    for b in matrices:
        out = [[sum(out[r][k] * b[k][c] for k in range(4)) for c in range(4)] for r in range(4)]
    return out


def shift(x, y, z):
    return [[1, 0, 0, x], [0, 1, 0, y], [0, 0, 1, z], [0, 0, 0, 1]]


def turn(axis, degrees):
    c, s = math.cos(math.radians(degrees)), math.sin(math.radians(degrees))
    j, k = (axis + 1) % 3, (axis + 2) % 3
    m = [row[:] for row in ONE]
    m[j][j], m[k][k], m[j][k], m[k][j] = c, c, -s, s
    return m


def of_quaternion(q):
    x, y, z, w = (v / math.sqrt(sum(a * a for a in q)) for v in q)
    return [[1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y), 0],
            [2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x), 0],
            [2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y), 0], [0, 0, 0, 1]]


def to_quaternion(m):
    size = [math.sqrt(sum(m[r][c] ** 2 for r in range(3))) for c in range(3)]
    a = [[m[r][c] / size[c] for c in range(3)] for r in range(3)]
    # The square of each component from the diagonal; the largest one settles the signs of the others.
    squares = [(1 + a[0][0] * sx + a[1][1] * sy + a[2][2] * sz) / 4
               for sx, sy, sz in ((1, -1, -1), (-1, 1, -1), (-1, -1, 1), (1, 1, 1))]
    best = max(range(4), key=lambda i: squares[i])
    x, y, z, w = range(4)
    pairs = {(x, w): a[2][1] - a[1][2], (y, w): a[0][2] - a[2][0], (z, w): a[1][0] - a[0][1],
             (x, y): a[0][1] + a[1][0], (x, z): a[0][2] + a[2][0], (y, z): a[1][2] + a[2][1]}
    q = [0.0] * 4
    q[best] = math.sqrt(squares[best])
    for (i, j), value in pairs.items():
        if best in (i, j):
            q[i + j - best] = value / (4 * q[best])
    return q


def state(world, rotations=True):
    tidy = lambda values, digits: [round(v, digits) + 0.0 for v in values]
    out = {"position": [tidy([m[r][3] for r in range(3)], 9) for m in world]}
    if rotations:
        out["rotation_xyzw"] = [tidy(to_quaternion(m), 9) for m in world]
    return out


def bvh(name):
    lines = iter((FILES / name).read_text().splitlines())
    joints, stack = [], [-1]
    for line in lines:
        words = line.split()
        if words[0] in ("ROOT", "JOINT", "End"):
            joints.append({"name": None if words[0] == "End" else words[1], "end_site": words[0] == "End",
                           "parent": stack[-1], "offset": [], "channels": []})
        elif words[0] == "{":
            stack.append(len(joints) - 1)
        elif words[0] == "}":
            stack.pop()
        elif words[0] == "OFFSET":
            joints[-1]["offset"] = [float(x) for x in words[1:]]
        elif words[0] == "CHANNELS":
            joints[-1]["channels"] = words[2:]
        elif words[0] == "MOTION":
            break
    count, time = next(lines).split()[1], next(lines).split()[2]
    rows = [[float(x) for x in line.split()] for line in lines]

    def world(row, add):
        values, out = iter(row), []
        for joint in joints:
            at, m = list(joint["offset"]), ONE
            for channel in joint["channels"]:
                axis, value = "XYZ".index(channel[0]), next(values, 0.0)
                if channel.endswith("rotation"):
                    m = mul(m, turn(axis, value))
                elif row:
                    at[axis] = at[axis] * add + value
            out.append(mul(out[joint["parent"]] if joint["parent"] >= 0 else ONE, shift(*at), m))
        return out

    chosen = range(0, len(rows), max(1, len(rows) // 4))
    frames = lambda add: [{"frame": f} | state(world(rows[f], add), not add) for f in chosen]
    return {"frame_time_text": time, "frame_time": float(time), "frames_used": int(count),
            "channels": sum(len(j["channels"]) for j in joints), "joints": joints,
            "rest_position": state(world([], 0))["position"], "frames": frames(0), "frames_add": frames(1),
            "position_channels_matter": bool(rows), "intended": "replace"}


def gltf(name):
    file = json.loads((FILES / name).read_text())
    data = base64.b64decode(file["buffers"][0]["uri"].split(",")[1])

    def read(index):
        row = file["accessors"][index]
        width = {"SCALAR": 1, "VEC3": 3, "VEC4": 4}[row["type"]]
        start = file["bufferViews"][row["bufferView"]]["byteOffset"]
        values = struct.unpack_from(f"<{row['count'] * width}f", data, start)
        return [values[i:i + width] for i in range(0, len(values), width)]

    parents = {child: i for i, node in enumerate(file["nodes"]) for child in node.get("children", [])}

    def world(changes):
        def of(i):
            node = file["nodes"][i] | changes.get(i, {})
            if "matrix" in node:
                m = [[node["matrix"][4 * c + r] for c in range(4)] for r in range(4)]
            else:
                scale = [*node.get("scale", (1, 1, 1)), 1]
                m = mul(shift(*node.get("translation", [0, 0, 0])), of_quaternion(node.get("rotation", [0, 0, 0, 1])),
                        [[scale[r] * float(r == c) for c in range(4)] for r in range(4)])
            return mul(of(parents[i]), m) if i in parents else m
        return [of(i) for i in range(len(file["nodes"]))]

    def sample(clip, time):
        changes = {}
        for channel in clip["channels"]:
            sampler, path = clip["samplers"][channel["sampler"]], channel["target"]["path"]
            times, values = [t[0] for t in read(sampler["input"])], read(sampler["output"])
            k = max([i for i, t in enumerate(times) if t <= time], default=0)
            span = times[k + 1] - times[k] if k + 1 < len(times) else 1
            u = min(max((time - times[k]) / span, 0), 1) if k + 1 < len(times) else 0
            how = sampler["interpolation"]
            if how == "CUBICSPLINE":
                a, out = values[3 * k + 1], values[3 * k + 2]
                b, into = (values[3 * k + 4], values[3 * k + 3]) if u > 0 else (a, out)
                h = (2 * u**3 - 3 * u**2 + 1, span * (u**3 - 2 * u**2 + u), 3 * u**2 - 2 * u**3, span * (u**3 - u**2))
                value = [h[0] * p + h[1] * m + h[2] * q + h[3] * n for p, m, q, n in zip(a, out, b, into)]
            else:
                a, b = values[k], values[k + 1] if u > 0 else values[k]
                weights = (1 - u, u) if how == "LINEAR" else (1, 0)
                dot = sum(p * q for p, q in zip(a, b))
                if how == "LINEAR" and path == "rotation" and abs(dot) < 1 - 1e-12: # along the shorter arc
                    angle, sign = math.acos(abs(dot)), math.copysign(1, dot)
                    weights = (math.sin((1 - u) * angle) / math.sin(angle), sign * math.sin(u * angle) / math.sin(angle))
                value = [weights[0] * p + weights[1] * q for p, q in zip(a, b)]
            changes.setdefault(channel["target"]["node"], {})[path] = value
        return world(changes)

    joints = {j for skin in file["skins"] for j in skin["joints"]}
    clips = []
    for clip in file["animations"]:
        keys = [t[0] for s in clip["samplers"] for t in read(s["input"])]
        low, high = min(keys), max(keys)
        clips.append({"name": clip["name"], "channels": len(clip["channels"]), "start": low, "end": high,
                      "samples": [{"time": low + (high - low) * f} | state(sample(clip, low + (high - low) * f))
                                  for f in (0, 0.3, 0.5, 0.85, 1)]})
    return {"nodes": [{"name": n["name"], "parent": parents.get(i), "joint": i in joints, "mesh": "mesh" in n}
                      for i, n in enumerate(file["nodes"])],
            "skins": [{"joints": s["joints"]} for s in file["skins"]], "rest": state(world({})), "animations": clips}


for name, values in (("Walker.bvh", bvh("Walker.bvh")), ("Child.bvh", bvh("Child.bvh")), ("Lamp.gltf", gltf("Lamp.gltf"))):
    (HERE / (name + ".json")).write_text(json.dumps(values) + "\n", encoding="ascii")
