#pragma once

#include "CliTestSupport/JsonAnswer.h"
#include "CliTestSupport/Program.h"
#include "TestSupport/Projects.h"
#include "TestSupport/TemporaryFolder.h"
#include "VideoCore/FileIO.h"
#include "VideoCore/ProjectStore.h"

#include <gmock/gmock.h>
#include <string>
#include <utility>
#include <vector>

namespace orvo::test {

/// A library with one project of ten seconds, and functions that run `orvo` on it.
class CliFixture : public testing::Test {
protected:
    CliFixture()
        : store(folder / "library")
        , project(emptyProject(10))
        , id(project.id.text())
    {
        setup.library = store.root();
        store.create(project);
    }

    /// Runs `orvo` with these arguments on the library.
    Outcome orvo(std::vector<std::string> arguments) const { return run(std::move(arguments), setup); }

    /// Runs `orvo` with `--json`; expects success and one JSON value.
    JsonAnswer answer(std::vector<std::string> arguments) const
    {
        arguments.emplace(arguments.begin() + 1, "--json"); // After a "--" it would be an argument.
        const Outcome outcome = orvo(std::move(arguments));
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return JsonAnswer(outcome.out);
    }

    /// Runs `orvo`; expects this exit status and an error message that contains `text`.
    void expectFailure(std::vector<std::string> arguments, int status, const std::string& text) const
    {
        const Outcome outcome = orvo(std::move(arguments));
        EXPECT_EQ(outcome.status, status);
        EXPECT_THAT(outcome.err, testing::HasSubstr(text));
    }

    /// The stored project.
    VideoProject stored() const { return store.load(project.id); }

    /// The bytes of the stored document.
    std::string document() const { return readFile(store.directory(project.id) / ProjectStore::documentName); }

    TemporaryFolder folder;
    ProjectStore store;
    VideoProject project;
    std::string id;
    Program::Setup setup;
};

} // namespace orvo::test
