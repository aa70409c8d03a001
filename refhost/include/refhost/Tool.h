// SPDX-License-Identifier: MIT
// Tools: what the user works with in a view; what they are told, and what they may ask for.
#pragma once

#include "refhost/Command.h"
#include "refhost/Recorder.h"
#include "refhost/Result.h"
#include "refhost/View.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace refhost {

class Host;

/// From the pointer's motion to motion in the scene, for one press of a button.
class EventTranslation {
public:
    /// The button went down at this pixel.
    void begin(const View& view, const Pixel& start);
    void movePointer(const Pixel& current) { m_Current = current; }

    /// World position that the drag starts from. Until a plane is set the motion stays in the world plane
    /// through it that faces the view most. False for numbers that are not finite.
    bool setStart(const Vector3& start);
    /// False for numbers that are not finite and a normal of no length.
    bool setPlane(const Vector3& normal, const Vector3& point);
    Vector3 viewDirection() const { return m_View.direction(); }
    /// `from` moved by as much as the pointer, kept to the plane, has moved since the button went down; where
    /// the pointer's ray misses the plane, the motion before stands.
    Vector3 newPosition(const Vector3& from);

private:
    bool onPlane(const Pixel& pixel, Vector3& out) const;

    View m_View;
    Pixel m_Start{}, m_Current{};
    Vector3 m_PlaneNormal{0, 0, 1}, m_PlanePoint{}, m_Motion{};
};

/// What happens in a view.
struct ToolEvent {
    const View* view = nullptr;
    int button = 0; ///< 0 while none is down, else from 1
    int mode = 0; ///< what the gesture means to the tool, see kGestures
    int clicks = 1;
    int part = -1; ///< of the tool's drawing, under the pointer at button down; negative for none
    int startX = 0, startY = 0; ///< pixels, where the button went down
    int currentX = 0, currentY = 0;
    EventTranslation* translation = nullptr; ///< null while no button is down
    Scene* scene = nullptr; ///< the current one
    double time = 0; ///< seconds, the current one

    /// What lies under the pointer, as meshes are deformed now.
    bool rayHit(RayHit& hit) const;
};

/// What a tool may do while an event is handled.
class AdjustTool {
public:
    virtual ~AdjustTool() = default;
    /// Sets an attribute of the tool; refused for an index past the end and a number that is not finite.
    virtual Result setNumber(int index, double value) = 0;
    /// Asks for an evaluation once the event is handled.
    virtual void requestEvaluation() = 0;
    /// The drag has ended: what follows is a new undo step.
    virtual void endDrag() = 0;
};

struct ToolAttribute {
    std::string name;
    bool whole = false; ///< an integer
};

/// One tool object; the host makes another when what it remembers may be out of date.
class Tool {
public:
    virtual ~Tool() = default;
    virtual Enabled enabled() { return {}; }
    /// Gives the attributes their defaults.
    virtual Result reset() = 0;
    virtual const std::vector<ToolAttribute>& attributes() const = 0;
    virtual ResultOf<double> number(int index) = 0;
    virtual Result setNumber(int index, double value) = 0;
    /// Before drawing, hit tests and button down, when the selection or the scene may have changed.
    virtual Result initialise(const ToolEvent& event) = 0;
    virtual Result draw(const ToolEvent& event, Recorder& recorder) = 0;
    /// Draws what can be hit, each with its part.
    virtual Result hitTest(const ToolEvent& event, Recorder& recorder) = 0;
    virtual Result buttonDown(const ToolEvent& event, AdjustTool& adjust) = 0;
    virtual Result move(const ToolEvent& event, AdjustTool& adjust) = 0;
    virtual Result buttonUp(const ToolEvent& event, AdjustTool& adjust) = 0;
    /// Applies the attributes to the scene.
    virtual Result evaluate(const ToolEvent& event) = 0;
    virtual void dropped() { }
};

/// Makes tools of one name.
class ToolMaker {
public:
    virtual ~ToolMaker() = default;
    virtual const std::string& name() const = 0;
    virtual ResultOf<std::unique_ptr<Tool>> make() = 0;
};

/// The makers of a host's tools, in order of adding; they come and go while one thread is alone.
class ToolMakers {
public:
    static ToolMakers& of(Host& host);
    /// Made by `of`.
    explicit ToolMakers(Host& host) : m_Host(host) { }

    /// Refused when the name is taken.
    Result add(std::shared_ptr<ToolMaker> maker);
    /// A tool of it that is in use at a desk goes first.
    void remove(std::string_view name);
    const std::vector<std::shared_ptr<ToolMaker>>& all() const { return m_Makers; }

private:
    Host& m_Host;
    std::vector<std::shared_ptr<ToolMaker>> m_Makers;
};

/// A gesture of the user's hand: a button of the pointer with keys held down.
struct Gesture {
    const char* name; ///< as the command `gesture` calls it
    int button; ///< 1 left, 2 right, 3 middle
    unsigned keys; ///< GestureKey bits
    bool drags; ///< a drag, as opposed to a click
    int mode; ///< what the tool is told
    const char* summary;
};
enum GestureKey : unsigned { kNoKey = 0, kShiftKey = 1, kControlKey = 2 };

/// The kind of tools that the modes below speak to: those that pose actors.
inline constexpr std::uint32_t kGestureTask = tagCode('A', 'C', 'T', 'R');

/// All gestures that reach a tool; everything else is the viewer's own.
inline constexpr Gesture kGestures[] = {
    {"move", 1, kNoKey, true, 20, "moves the joint in the plane that faces the viewer"},
    {"parent", 1, kControlKey, true, 22, "moves the joint with its parent alone"},
    {"rotate", 1, kShiftKey, true, 23, "turns the joint about its main axis"},
    {"free", 3, kNoKey, true, 26, "moves the joint in the world plane that faces the view most"},
    {"lock", 2, kNoKey, false, 21, "locks the joint, unlocks it, or unlocks all on empty space"},
    {"pin", 2, kControlKey, false, 27, "pins the joint with keys, or lets it go"},
};
/// Null for what is no tool's gesture.
const Gesture* gestureOf(int button, unsigned keys);
const Gesture* gestureByName(std::string_view name);

} // namespace refhost
