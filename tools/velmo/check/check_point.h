#pragma once

#include <string>

namespace velmo_tool {

enum class Need { Required, Optional };
enum class Verdict { Holds, Fails };

// One thing that the process expects of an inference library, and what was found.
struct CheckPoint {
    std::string name;  // as a statement about the library: "creates an engine"
    Need need = Need::Required;
    Verdict verdict = Verdict::Fails;
    std::string detail;  // what was seen, for people; may be empty
};

// Takes the points one by one, in their order.
class CheckListener {
 public:
    virtual ~CheckListener() = default;

    // The point is about to be looked at. The library may end or hang the process before OnPoint comes.
    virtual void OnBegin(const std::string& name, Need need) = 0;
    virtual void OnPoint(const CheckPoint& point) = 0;
};

}  // namespace velmo_tool
