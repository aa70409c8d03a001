// SPDX-License-Identifier: MIT
// The words of joint names: CMU and MotionBuilder, Biovision, Mixamo, VRM, Unreal, Blender, SMPL, Biped and
// their kin.
#include "roles/RoleWords.h"

#include "formats/JointNames.h"

#include <algorithm>
#include <string>

namespace formats {

namespace {

struct RoleWord {
    std::string_view word;
    RoleSet fits;
    RoleSet mayFit = 0;
    bool sided = true; ///< found with a side written together with it, as in `lhand`
};

constexpr RoleSet kHips = setOf(Role::Hips), kSpine = setOf(Role::Spine), kNeck = setOf(Role::Neck),
                  kHead = setOf(Role::Head), kClavicle = setOf(Role::Clavicle),
                  kUpperArm = setOf(Role::UpperArm), kLowerArm = setOf(Role::LowerArm),
                  kHand = setOf(Role::Hand), kUpperLeg = setOf(Role::UpperLeg),
                  kLowerLeg = setOf(Role::LowerLeg), kFoot = setOf(Role::Foot), kToes = setOf(Role::Toes),
                  kFingers = setOf(Role::Fingers);

// `Shoulder` is the collar bone in one program and the upper arm in the next, `Leg` the shin or the whole
// leg, `Foot` the ankle or the ball of the foot, `Hand` the wrist or the knuckles.
constexpr RoleWord kRoleWords[] = {
    {"hips", kHips, 0, false},
    {"hip", kHips | kUpperLeg},
    {"pelvis", kHips, 0, false},
    {"spine", kSpine, kNeck | kHips | kHead, false},
    {"back", kSpine, 0, false},
    {"chest", kSpine, 0, false},
    {"torso", kSpine, kHips, false},
    {"abdomen", kSpine, 0, false},
    {"waist", kSpine, kHips, false},
    {"thorax", kSpine, 0, false},
    {"ribcage", kSpine, 0, false},
    {"neck", kNeck, kHead, false},
    {"head", kHead, 0, false},
    {"skull", kHead, 0, false},
    {"shoulder", kClavicle | kUpperArm},
    {"shldr", kClavicle | kUpperArm},
    {"collar", kClavicle},
    {"clavicle", kClavicle},
    {"clav", kClavicle},
    {"scapula", kClavicle},
    {"arm", kUpperArm, kClavicle | kLowerArm | kHand},
    {"upperarm", kUpperArm},
    {"humerus", kUpperArm},
    {"lowerarm", kLowerArm},
    {"forearm", kLowerArm},
    {"elbow", kLowerArm},
    {"wrist", kHand},
    {"hand", kHand | kFingers},
    {"palm", kFingers, kHand},
    {"leg", kUpperLeg | kLowerLeg, kFoot | kToes},
    {"upperleg", kUpperLeg},
    {"thigh", kUpperLeg},
    {"femur", kUpperLeg},
    {"lowerleg", kLowerLeg},
    {"knee", kLowerLeg},
    {"shin", kLowerLeg},
    {"calf", kLowerLeg},
    {"tibia", kLowerLeg},
    {"ankle", kFoot},
    {"foot", kFoot | kToes},
    {"toe", kToes},
    {"toes", kToes},
    {"toebase", kToes},
    {"ball", kToes},
    {"metatarsals", kToes},
    {"thumb", setOf(Role::Thumb)},
    {"index", setOf(Role::Index)},
    {"middle", setOf(Role::Middle)},
    {"mid", setOf(Role::Middle), ~RoleSet(0), false},
    {"ring", setOf(Role::Ring)},
    {"pinky", setOf(Role::Pinky)},
    {"pinkie", setOf(Role::Pinky)},
    {"little", setOf(Role::Pinky)},
    {"finger", kFingers},
    {"fingers", kFingers},
};

// Two words that mean one, whether written together or not.
struct JoinedWord {
    std::string_view first, second, joined;
};
constexpr JoinedWord kJoinedWords[] = {
    {"up", "arm", "upperarm"},    {"upper", "arm", "upperarm"}, {"lo", "arm", "lowerarm"},
    {"low", "arm", "lowerarm"},   {"lower", "arm", "lowerarm"}, {"fore", "arm", "lowerarm"},
    {"up", "leg", "upperleg"},    {"upper", "leg", "upperleg"}, {"lo", "leg", "lowerleg"},
    {"low", "leg", "lowerleg"},   {"lower", "leg", "lowerleg"}, {"toe", "base", "toebase"},
    {"collar", "bone", "collar"}, {"upper", "chest", "chest"},  {"rib", "cage", "ribcage"},
};
constexpr RoleWord kGluedWords[] = {
    {"uparm", kUpperArm}, {"loarm", kLowerArm},  {"upleg", kUpperLeg},
    {"loleg", kLowerLeg}, {"lowarm", kLowerArm}, {"lowleg", kLowerLeg},
};

constexpr std::string_view kHelperWords[] = {
    "ik",     "fk",     "mch",    "pole",      "target", "ctrl",       "control",  "controller", "helper",
    "prop",   "weapon", "socket", "attach",    "slot",   "goal",       "effector", "marker",     "dummy",
    "item",   "gun",    "sword",  "hat",       "helmet", "hair",       "skirt",    "cape",       "cloth",
    "tail",   "breast", "bust",   "boob",      "butt",   "jiggle",     "sleeve",   "hood",       "physics",
    "camera", "light",  "heel",   "secondary", "sec",    "corrective", "wing",     "mesh",
};
constexpr std::string_view kTwistWords[] = {"twist", "roll", "tw"};
constexpr std::string_view kEndWords[] = {"end", "tip", "nub", "top", "site", "null", "effector", "endsite"};
constexpr std::string_view kFaceWords[] = {
    "jaw",  "eye",   "eyes",  "ear",   "ears", "nose", "tongue", "brow",     "eyebrow", "lip",
    "lips", "cheek", "mouth", "teeth", "face", "chin", "eyelid", "forehead", "lid"};
constexpr std::string_view kLeftWords[] = {"l", "left", "lt", "lf", "lft"};
constexpr std::string_view kRightWords[] = {"r", "right", "rt", "rgt"};

template <std::size_t N>
bool isOneOf(const std::string_view (&words)[N], std::string_view word)
{
    return std::find(std::begin(words), std::end(words), word) != std::end(words);
}

const RoleWord* findWord(std::string_view word)
{
    for (const RoleWord& row : kRoleWords)
        if (row.word == word)
            return &row;
    for (const RoleWord& row : kGluedWords)
        if (row.word == word)
            return &row;
    return nullptr;
}

std::vector<std::string> joinedWords(std::string_view name)
{
    const std::vector<std::string> words = nameWords(name);
    std::vector<std::string> out;
    for (const std::string& word : words) {
        const JoinedWord* found = nullptr;
        if (!out.empty())
            for (const JoinedWord& row : kJoinedWords)
                if (row.first == out.back() && row.second == word)
                    found = &row;
        if (found)
            out.back() = found->joined;
        else
            out.push_back(word);
    }
    return out;
}

} // namespace

bool isSidedWord(std::string_view word)
{
    const RoleWord* row = findWord(word);
    return row && row->sided;
}

NameEvidence evidenceOf(std::string_view name)
{
    NameEvidence evidence;
    bool left = false, right = false;
    RoleSet finger = 0;
    constexpr RoleSet kOneFinger = setOf(Role::Thumb) | setOf(Role::Index) | setOf(Role::Middle)
        | setOf(Role::Ring) | setOf(Role::Pinky);
    for (const std::string& word : joinedWords(name)) {
        left = left || isOneOf(kLeftWords, word);
        right = right || isOneOf(kRightWords, word);
        evidence.helper = evidence.helper || isOneOf(kHelperWords, word);
        evidence.twist = evidence.twist || isOneOf(kTwistWords, word);
        evidence.end = evidence.end || isOneOf(kEndWords, word);
        evidence.face = evidence.face || isOneOf(kFaceWords, word);
        if (const RoleWord* row = findWord(word)) {
            finger |= row->fits & kOneFinger;
            evidence.fits |= row->fits;
            evidence.mayFit |= row->mayFit;
        }
    }
    if (left != right)
        evidence.side = left ? Side::Left : Side::Right;
    if (finger) {
        // `LeftHandThumb1` is no hand; `f_middle` no palm.
        evidence.fits = finger;
        evidence.mayFit &= ~kHand;
    }
    // `LeftHip` is a thigh, `hip` without a side the pelvis; `pelvis.L` only pads the hips out.
    if (evidence.side != Side::Middle)
        evidence.fits &= ~(kHips | kSpine | kNeck | kHead);
    else
        evidence.fits &= evidence.fits & kHips ? ~kUpperLeg : ~RoleSet(0);
    if (evidence.face)
        evidence.fits = evidence.mayFit = 0;
    return evidence;
}

} // namespace formats
