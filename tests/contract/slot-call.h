// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Calls a virtual operation by its number alone, as a host does that was built long ago against the
// same order: through the table of the Itanium C++ ABI (its section "Virtual Table Layout"), which
// GCC and Clang use on Linux. Called by tests, one thread.
#pragma once

#include <cstddef>
#include <utility>

#if defined(__clang__)
// The table's entries are member functions; Clang's check of call types knows that.
#define LUMIQ_ANY_FUNCTION_TYPE __attribute__((no_sanitize("function")))
#else
#define LUMIQ_ANY_FUNCTION_TYPE
#endif

namespace Nerio::Lumiq {

// A destructor takes the first two entries: one that only destroys, one that also frees. Counting
// operations from 1, with the destructor as the first, operation n > 1 therefore stands in entry n.
inline constexpr std::size_t destroySlot = 0;
inline constexpr std::size_t destroyAndFreeSlot = 1;

template <typename Signature>
class SlotCall;

// slotCall<bool(int)>(camera, 5)(3) calls entry 5 of the camera's table with the argument 3.
template <typename Result, typename... Arguments>
class SlotCall<Result(Arguments...)> {
public:
    SlotCall(void* object, std::size_t slot) : m_object(object), m_slot(slot) {}

    LUMIQ_ANY_FUNCTION_TYPE Result operator()(Arguments... arguments) const {
        using Function = Result (*)(void*, Arguments...);
        const Function* const table = *static_cast<const Function* const*>(m_object);
        return table[m_slot](m_object, std::forward<Arguments>(arguments)...);
    }

private:
    void* m_object;
    std::size_t m_slot;
};

template <typename Signature, typename Interface>
SlotCall<Signature> slotCall(Interface& object, std::size_t slot) {
    // A const operation is called in the same way.
    return {const_cast<void*>(static_cast<const volatile void*>(&object)), slot};
}

}  // namespace Nerio::Lumiq
