#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <map>
#include <vector>

#include "helpers/calyr_helper.h"
#include "helpers/hvq_input.h"
#include "helpers/hvq_output.h"
#include "helpers/portrait_option.h"
#include "helpers/status.h"
#include "host/helper_selection.h"

// For test programs that link the host.
namespace support {

// A helper that answers as it is told and keeps what it was given. Thread: as the host calls it, one at a time.
class FakeHelper : public rvo_calyr::IRvoCalyrHelper {
 public:
    using Work = std::function<std::uint32_t(const rvo_calyr::RvoHvqInput&, rvo_calyr::RvoHvqOutput&)>;

    std::uint32_t Init(const rvo_calyr::_CalyrPortraitOption& option) override {
        options.push_back(option);
        if (initError) std::rethrow_exception(initError);
        return initStatus;
    }
    std::uint32_t Infer(const rvo_calyr::RvoHvqInput* input, rvo_calyr::RvoHvqOutput* output) override {
        ++inferCount;
        lastInput = input;
        lastOutput = output;
        return work ? work(*input, *output) : rvo_calyr::kStatusSuccess;
    }
    void Reserved() override {}

    std::uint32_t initStatus = rvo_calyr::kStatusSuccess;
    std::exception_ptr initError;  // what Init throws; nothing when empty
    Work work;                     // what Infer does; nothing, with success, when empty

    std::vector<rvo_calyr::_CalyrPortraitOption> options;
    int inferCount = 0;
    const rvo_calyr::RvoHvqInput* lastInput = nullptr;  // gone with its frame: to compare, not to follow
    rvo_calyr::RvoHvqOutput* lastOutput = nullptr;      // the host's, until it makes another one
};

// Knows the helpers that a test puts in.
class FakeHelpers : public rvo_calyr::HelperSelection {
 public:
    rvo_calyr::IRvoCalyrHelper* HelperFor(std::int32_t modelType) override {
        asked.push_back(modelType);
        if (error) std::rethrow_exception(error);
        const auto helper = helpers.find(modelType);
        return helper == helpers.end() ? nullptr : helper->second;
    }

    std::map<std::int32_t, rvo_calyr::IRvoCalyrHelper*> helpers;  // by model type
    std::vector<std::int32_t> asked;
    std::exception_ptr error;  // what a question throws; nothing when empty
};

}  // namespace support
