#include "VideoMedia/ProgramTrials.h"

#include "VideoMedia/ProcessRunner.h"

#include <map>
#include <mutex>
#include <optional>
#include <utility>

namespace orvo::ProgramTrials {

namespace fs = std::filesystem;

namespace {

class Outcomes {
public:
    std::optional<bool> find(const Program& program, const Arguments& trial)
    {
        const std::lock_guard lock(m_mutex);
        const auto known = m_outcomes.find({program, trial});
        return known == m_outcomes.end() ? std::nullopt : std::optional(known->second);
    }
    void set(const Program& program, const Arguments& trial, bool succeeds)
    {
        const std::lock_guard lock(m_mutex);
        m_outcomes.insert_or_assign({program, trial}, succeeds);
    }

private:
    std::mutex m_mutex;
    std::map<std::pair<Program, Arguments>, bool> m_outcomes;
};

Outcomes& outcomes()
{
    static Outcomes all;
    return all;
}

} // namespace

Program identityOf(const fs::path& program)
{
    return {fs::canonical(program), fs::last_write_time(program)};
}

bool succeeds(const fs::path& program, const Arguments& trial, const std::stop_token& stop)
{
    const auto identity = identityOf(program);
    if (const auto known = outcomes().find(identity, trial))
        return *known;
    const bool outcome = ProcessRunner::succeeds(program, trial, stop);
    outcomes().set(identity, trial, outcome);
    return outcome;
}

void setFailed(const fs::path& program, const Arguments& trial)
{
    outcomes().set(identityOf(program), trial, false);
}

} // namespace orvo::ProgramTrials
