#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes the characters and clips of the examples, next to this file.

Walker.bvh  a walker of 172 cm, at rest with the arms held sideways, and two seconds of a walk
Child.bvh   a smaller figure with other proportions and names, at rest with the arms hanging, without motion
Lamp.gltf   a desk lamp of four joints with a skinned mesh, and two clips: it looks around, and it hops

Lengths are in centimetres, y is up, the figures look along +z and their left is +x; the lamp is in metres, as glTF
is. Run it again after a change; the same text comes out on every machine.
"""

import base64
import json
import math
import pathlib
import struct

FRAME_RATE = 30
FRAMES = 61
STRIDE = 80.0  # cm from one step of a foot to its next
PERIOD = 1.0  # seconds for it
STANCE = 0.6  # share of the period in which a foot stands

# name, parent, offset from the parent; None as a name is the end of the joint above it
WALKER = [
    ("Hips", None, (0, 94, 0)),
    ("LeftUpLeg", "Hips", (9, -4, 0)),
    ("LeftLeg", "LeftUpLeg", (0, -42, 0)),
    ("LeftFoot", "LeftLeg", (0, -41, 0)),
    ("LeftToe", "LeftFoot", (0, -6, 13)),
    (None, "LeftToe", (0, 0, 7)),
    ("RightUpLeg", "Hips", (-9, -4, 0)),
    ("RightLeg", "RightUpLeg", (0, -42, 0)),
    ("RightFoot", "RightLeg", (0, -41, 0)),
    ("RightToe", "RightFoot", (0, -6, 13)),
    (None, "RightToe", (0, 0, 7)),
    ("Spine", "Hips", (0, 10, -1)),
    ("Chest", "Spine", (0, 15, 0)),
    ("Neck", "Chest", (0, 28, 0)),
    ("Head", "Neck", (0, 9, 2)),
    (None, "Head", (0, 17, 0)),
    ("LeftShoulder", "Chest", (4, 22, 0)),
    ("LeftArm", "LeftShoulder", (14, 0, 0)),
    ("LeftForeArm", "LeftArm", (28, 0, 0)),
    ("LeftHand", "LeftForeArm", (25, 0, 0)),
    (None, "LeftHand", (9, 0, 0)),
    ("RightShoulder", "Chest", (-4, 22, 0)),
    ("RightArm", "RightShoulder", (-14, 0, 0)),
    ("RightForeArm", "RightArm", (-28, 0, 0)),
    ("RightHand", "RightForeArm", (-25, 0, 0)),
    (None, "RightHand", (-9, 0, 0)),
]

CHILD = [
    ("pelvis", None, (0, 58, 0)),
    ("thigh_l", "pelvis", (7, -2, 0)),
    ("calf_l", "thigh_l", (0, -25, 0)),
    ("foot_l", "calf_l", (0, -26, 0)),
    (None, "foot_l", (0, -5, 12)),
    ("thigh_r", "pelvis", (-7, -2, 0)),
    ("calf_r", "thigh_r", (0, -25, 0)),
    ("foot_r", "calf_r", (0, -26, 0)),
    (None, "foot_r", (0, -5, 12)),
    ("spine_01", "pelvis", (0, 9, 0)),
    ("spine_02", "spine_01", (0, 10, 0)),
    ("neck_01", "spine_02", (0, 17, 0)),
    ("head", "neck_01", (0, 6, 1)),
    (None, "head", (0, 17, 0)),
    ("upperarm_l", "spine_02", (13, 13, 0)),
    ("lowerarm_l", "upperarm_l", (0, -17, 0)),
    ("hand_l", "lowerarm_l", (0, -16, 0)),
    (None, "hand_l", (0, -7, 0)),
    ("upperarm_r", "spine_02", (-13, 13, 0)),
    ("lowerarm_r", "upperarm_r", (0, -17, 0)),
    ("hand_r", "lowerarm_r", (0, -16, 0)),
    (None, "hand_r", (0, -7, 0)),
]


def number(value):
    text = f"{value:.4f}".rstrip("0").rstrip(".")
    return "0" if text == "-0" else text


def hierarchy(joints):
    lines = ["HIERARCHY"]

    def write(name, offset, depth, is_root):
        pad = "\t" * depth
        lines.append(pad + ("ROOT " if is_root else "JOINT ") + name if name else pad + "End Site")
        lines.append(pad + "{")
        lines.append(pad + "\tOFFSET " + " ".join(number(x) for x in offset))
        if name:
            position = "6 Xposition Yposition Zposition" if is_root else "3"
            lines.append(pad + f"\tCHANNELS {position} Zrotation Xrotation Yrotation")
            for child, parent, child_offset in joints:
                if parent == name:
                    write(child, child_offset, depth + 1, False)
        lines.append(pad + "}")

    name, _, offset = joints[0]
    write(name, offset, 0, True)
    return lines


def leg(hip_height, forward, height):
    """Angles in degrees about x of hip, knee and ankle that put the ankle `forward` of the hip and at `height`."""
    thigh, shin = 42.0, 41.0
    down = hip_height - height
    reach = min(math.hypot(forward, down), (thigh + shin) * 0.9995)
    knee = math.acos((thigh**2 + shin**2 - reach**2) / (2 * thigh * shin))
    at_hip = math.acos((thigh**2 + reach**2 - shin**2) / (2 * thigh * reach))
    hip = -math.atan2(forward, down) - at_hip
    bend = math.pi - knee
    return [math.degrees(a) for a in (hip, bend, -(hip + bend))]


def foot_path(phase):
    """Of the ankle: how far it is ahead of its mean place, in cm, and how high it is over its rest."""
    if phase < STANCE:
        return STRIDE * (STANCE / 2 - phase), 0.0
    swing = (phase - STANCE) / (1 - STANCE)
    ease = swing - math.sin(2 * math.pi * swing) / (2 * math.pi)
    back = -STRIDE * STANCE / 2
    return back + ease * STRIDE * STANCE, 11.0 * math.sin(math.pi * swing) ** 2


def walk_frame(time):
    """Root position, and rotations (z, x, y in degrees) by joint."""
    cycle = time / PERIOD
    bob = -1.2 * math.cos(4 * math.pi * cycle)
    hip_height = 80.3 + bob  # of the hip joints over the ankles' rest plane
    root = (0, 7 + hip_height + 4, STRIDE * cycle)
    turns = {}
    for side, shift in (("Left", 0.0), ("Right", 0.5)):
        forward, height = foot_path((cycle + shift) % 1.0)
        hip, knee, ankle = leg(hip_height, forward, height)
        turns[side + "UpLeg"] = (0, hip, 0)
        turns[side + "Leg"] = (0, knee, 0)
        turns[side + "Foot"] = (0, ankle, 0)
        sign = 1 if side == "Left" else -1
        swing = -28 * math.cos(2 * math.pi * (cycle + shift))
        # Down from the side, then forwards and back; the elbow bends a little.
        turns[side + "Arm"] = (-sign * 78, 0, -sign * swing)
        turns[side + "ForeArm"] = (0, 0, -sign * (18 - 0.4 * swing))
    twist = 5 * math.cos(2 * math.pi * cycle)
    turns["Spine"] = (0, 3, -twist)
    turns["Chest"] = (0, 1, -twist)
    turns["Head"] = (0, -3, 2 * twist)
    return root, turns


def motion(joints):
    lines = []
    for frame in range(FRAMES):
        root, turns = walk_frame(frame / FRAME_RATE)
        row = list(root)
        # In the order of the hierarchy, which is depth first; the table above is written in that order.
        for name, _, _ in joints:
            if name:
                row += turns.get(name, (0, 0, 0))
        lines.append(" ".join(number(x) for x in row))
    return lines


def write(file, joints, frames):
    lines = hierarchy(joints) + ["MOTION", f"Frames: {len(frames)}", f"Frame Time: {1 / FRAME_RATE:.6f}"] + frames
    (pathlib.Path(__file__).parent / file).write_text("\n".join(lines) + "\n", encoding="ascii")


write("Walker.bvh", WALKER, motion(WALKER))
write("Child.bvh", CHILD, [])


# joint, origin from the joint above, half extents of its box, and how far the box reaches from the origin along y
LAMP = [
    ("Base", (0, 0.02, 0), (0.09, 0.09), (-0.02, 0.02)),
    ("LowerArm", (0, 0.03, 0), (0.015, 0.015), (0, 0.30)),
    ("UpperArm", (0, 0.30, 0), (0.012, 0.012), (0, 0.26)),
    ("Head", (0, 0.26, 0.02), (0.05, 0.05), (-0.04, 0.07)),
]
HEAD_SCALE = 1.25


def about(axis, degrees):
    """Quaternion x, y, z, w of a turn about axis 0, 1 or 2."""
    half = math.radians(degrees) / 2
    q = [0.0, 0.0, 0.0, math.cos(half)]
    q[axis] = math.sin(half)
    return q


def lamp():
    """One buffer in the text, boxes that move with one joint each, and every kind of interpolation."""
    data = bytearray()
    document = {"asset": {"version": "2.0", "generator": "make_characters.py"}, "scene": 0, "scenes": [{"nodes": [0, 5]}]}
    views, accessors = [], []

    def accessor(values, kind, width, letter="f", code=5126, bounds=False):
        data.extend(b"\0" * (-len(data) % 4))
        packed = struct.pack(f"<{len(values)}{letter}", *values)
        views.append({"buffer": 0, "byteOffset": len(data), "byteLength": len(packed)})
        data.extend(packed)
        row = {"bufferView": len(views) - 1, "componentType": code, "count": len(values) // width, "type": kind}
        if bounds:
            stored = struct.unpack(f"<{len(values)}{letter}", packed)
            row["min"] = [min(stored[i::width]) for i in range(width)]
            row["max"] = [max(stored[i::width]) for i in range(width)]
        accessors.append(row)
        return len(accessors) - 1

    turn, lift = math.radians(30), 0.75  # the stand: on a table, turned a little
    c, s = math.cos(turn), math.sin(turn)
    nodes = [{"name": "Stand", "matrix": [c, 0, -s, 0, 0, 1, 0, 0, s, 0, c, 0, 0, lift, 0, 1], "children": [1]}]
    positions, normals, joints, weights, indices, binds = [], [], [], [], [], []
    origin = [0.0, 0.0, 0.0]
    for joint, (name, offset, half, (low, high)) in enumerate(LAMP):
        node = {"name": name, "translation": list(offset)}
        if joint < 3:
            node["children"] = [joint + 2]
        scale = HEAD_SCALE if name == "Head" else 1
        if scale != 1:
            node["scale"] = [scale] * 3
        nodes.append(node)
        origin = [a + b for a, b in zip(origin, offset)]
        # The inverse of turn, lift, origin and scale, column by column.
        r = 1 / scale
        move = [-origin[0] * r, (-origin[1] - lift) * r, -origin[2] * r]
        binds += [c * r, 0, s * r, 0, 0, r, 0, 0, -s * r, 0, c * r, 0, *move, 1]
        for axis in range(3):
            for sign in (-1, 1):
                first = len(positions) // 3
                for u, v in ((-1, -1), (1, -1), (1, 1), (-1, 1)):
                    at = [0.0, 0.0, 0.0]
                    at[axis], at[(axis + 1) % 3], at[(axis + 2) % 3] = sign, u * sign, v
                    x, y, z = at[0] * half[0], low + (high - low) * (at[1] + 1) / 2, at[2] * half[1]
                    x, y, z = x + origin[0], y + origin[1], z + origin[2]
                    positions += [c * x + s * z, y + lift, -s * x + c * z]
                    n = [0.0, 0.0, 0.0]
                    n[axis] = float(sign)
                    normals += [c * n[0] + s * n[2], n[1], -s * n[0] + c * n[2]]
                    joints += [joint, 0, 0, 0]
                    weights += [1, 0, 0, 0]
                indices += [first, first + 1, first + 2, first, first + 2, first + 3]
    nodes.append({"name": "Mesh", "mesh": 0, "skin": 0})
    attributes = {
        "POSITION": accessor(positions, "VEC3", 3, bounds=True),
        "NORMAL": accessor(normals, "VEC3", 3),
        "JOINTS_0": accessor(joints, "VEC4", 4, "B", 5121),
        "WEIGHTS_0": accessor(weights, "VEC4", 4),
    }
    faces = accessor(indices, "SCALAR", 1, "H", 5123)
    document["meshes"] = [{"primitives": [{"attributes": attributes, "indices": faces, "material": 0}]}]
    document["materials"] = [{"pbrMetallicRoughness": {"baseColorFactor": [0.8, 0.35, 0.2, 1], "metallicFactor": 0}}]
    document["skins"] = [{"joints": [1, 2, 3, 4], "inverseBindMatrices": accessor(binds, "MAT4", 16)}]

    def clip(name, tracks):
        samplers, channels = [], []
        for node, path, interpolation, times, values in tracks:
            kind = "VEC4" if path == "rotation" else "VEC3"
            output = accessor([x for value in values for x in value], kind, 4 if path == "rotation" else 3)
            samplers.append({"input": accessor(times, "SCALAR", 1, bounds=True), "output": output, "interpolation": interpolation})
            channels.append({"sampler": len(samplers) - 1, "target": {"node": node, "path": path}})
        return {"name": name, "samplers": samplers, "channels": channels}

    still = [0.0] * 4
    look = [still, about(1, -40), still, still, about(1, 70), [0, 0.3, 0, -0.2], [0.1, 0, 0, 0], about(0, 25), still]
    document["animations"] = [
        clip("Look", [
            (2, "rotation", "LINEAR", [0, 1, 2], [about(0, 25), about(0, 55), about(2, 20)]),
            (3, "rotation", "LINEAR", [0.5, 2], [about(0, -70), about(0, -110)]),
            (4, "rotation", "CUBICSPLINE", [0, 0.8, 2], look),
        ]),
        clip("Hop", [
            (1, "translation", "STEP", [0, 0.25, 0.75], [(0, 0.02, 0), (0, 0.12, 0.05), (0, 0.02, 0.1)]),
            (2, "rotation", "LINEAR", [0, 0.25, 0.75], [about(0, 60), about(0, 10), about(0, 60)]),
            (4, "scale", "LINEAR", [0.25, 0.5, 1], [(HEAD_SCALE,) * 3, (0.8,) * 3, (HEAD_SCALE,) * 3]),
        ]),
    ]
    document["nodes"], document["bufferViews"], document["accessors"] = nodes, views, accessors
    uri = "data:application/octet-stream;base64," + base64.b64encode(data).decode()
    document["buffers"] = [{"byteLength": len(data), "uri": uri}]
    return document


(pathlib.Path(__file__).parent / "Lamp.gltf").write_text(json.dumps(lamp(), indent=1) + "\n", encoding="ascii")
