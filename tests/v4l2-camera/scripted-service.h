// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A device-access service that does what a test tells it, lies and refusals included. It lives in
// the test's process on a thread of its own and speaks over the real bus.

#ifndef LUMIQ_TEST_SCRIPTED_SERVICE_H
#define LUMIQ_TEST_SCRIPTED_SERVICE_H

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace sdbus {
class IConnection;
class IObject;
}  // namespace sdbus

namespace TestSupport {

inline const std::string serviceRoot = "/io/nerio/Gatehold1/Uvc";
inline const std::string serviceInterface = "io.nerio.Gatehold1.UvcDevice";

/// One object of the service. The defaults are those of a camera that can capture and stream.
struct ServiceObject {
    std::string interface = serviceInterface;
    std::string name = "Scripted camera";
    std::uint32_t capabilities = 0x84200001;
    std::uint32_t deviceCaps = 0x04200001;
    bool hasName = true;
    bool hasCapabilities = true;
    bool hasDeviceCaps = true;
    bool capabilitiesAreText = false;  ///< A property of another type than agreed.
    bool openGivesText = false;        ///< A reply without a descriptor.
    bool openNeverAnswers = false;
    /// Returns a new descriptor for "Open", which the service closes after it has been sent; or
    /// throws std::runtime_error, which the caller sees as the error "io.nerio.Test.Refused".
    std::function<int()> open;
};

class ScriptedService {
public:
    /// Connects to the system bus of the environment and takes the service's name.
    ScriptedService();
    ScriptedService(const ScriptedService&) = delete;
    ScriptedService& operator=(const ScriptedService&) = delete;
    /// Leaves the bus without a word about its objects.
    ~ScriptedService();

    /// Publishes an object and announces it.
    void add(const std::string& path, const ServiceObject& object = {});
    /// Takes an object away and announces that it lost these interfaces.
    void remove(const std::string& path,
                const std::vector<std::string>& interfaces = {serviceInterface});
    /// Says that an object has gone, whether it was ever there or not.
    void announceRemoved(const std::string& path, const std::vector<std::string>& interfaces);
    /// Says that an object is there, again.
    void announceAdded(const std::string& path);

    /// How often "Open" was called.
    [[nodiscard]] int openCalls(const std::string& path);

private:
    struct State;
    std::unique_ptr<State> m_state;
};

}  // namespace TestSupport

#endif  // LUMIQ_TEST_SCRIPTED_SERVICE_H
