// SPDX-License-Identifier: MIT
#pragma once

namespace Tavrin::detail {

// How many objects the calling thread is asking for their text or value, each one for the sake of
// the one before.
extern constinit thread_local int askedDepth __attribute__((tls_model("initial-exec")));

// Marks an object that is being asked for its text or its value. Asked again meanwhile, by its own
// method or by an element that contains it, or asked too deep in a chain of objects, it does not
// ask its method and its elements.
class Asked
{
public:
    explicit Asked(bool &isAsked) : mark(isAsked), isFirst(!isAsked)
    {
        mark = true;
        ++askedDepth;
    }
    ~Asked()
    {
        mark = !isFirst;
        --askedDepth;
    }
    Asked(const Asked &) = delete;
    Asked &operator=(const Asked &) = delete;

    bool mayAsk() const { return isFirst && askedDepth <= deepest; }

private:
    static constexpr int deepest = 256;

    bool &mark;
    bool isFirst;
};

} // namespace Tavrin::detail
