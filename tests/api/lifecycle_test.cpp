#include "support/listener.h"
#include "support/state.h"

#include <gtest/gtest.h>

namespace casebook {
namespace {

using test::CurrentProject;
using test::Lines;
using test::Listener;
using test::refusalOf;
using test::stateOf;

constexpr auto freshState = "texts ||\nvariable 1 Case ID|||0:0|1|3|0|case id\n";

/// A host's own kind of project: it counts the connections to each signal and takes every record for active.
struct HostProject : Project {
  std::array<int, 4> connections{};

  bool recordIsActive(u64) const override { return true; }
  void signalProjectChangePreConnected() override { ++connections[0]; }
  void signalProjectChangeConnected() override { ++connections[1]; }
  void signalProjectJournalConnected() override { ++connections[2]; }
  void signalProjectResetConnected() override { ++connections[3]; }
};

TEST(Lifecycle, TheCurrentProjectIsTheHostsElseTheProcesss) {
  auto* const before = std::exchange(projectPtr, nullptr);
  auto const& own = Project::project();
  EXPECT_EQ(projectPtr, &own);
  {
    auto const beside = createProject();
    EXPECT_EQ(&Project::project(), &own);
    projectPtr = beside.get();
    EXPECT_EQ(&currentProject(), beside.get());
    auto const later = createProject();
    EXPECT_EQ(&currentProject(), beside.get());
  }
  EXPECT_EQ(projectPtr, nullptr);
  EXPECT_EQ(&Project::project(), &own);
  projectPtr = before;
}

TEST(Lifecycle, AHostMayDeriveItsOwn) {
  auto made = std::make_unique<HostProject>();
  auto const& host = *made;
  CurrentProject const project{std::move(made)};
  EXPECT_TRUE((Record{99, NoLockRequired{}}.isActive())) << "handles dispatch to the host's project";
  EXPECT_EQ(host.connections, (std::array{0, 0, 0, 0}));
  Listener const all{*project};
  auto const one = project->connectProjectJournal([](auto&) {});
  EXPECT_EQ(host.connections, (std::array{1, 1, 2, 1}));
  project->clearEntireProjectWithoutSignal();
  EXPECT_FALSE(one.connected());
}

/// Leaves nothing of a project untouched.
void fill(Project& project) {
  project.setFriendlyName("a"), project.setDescription("b"), project.setRootPath("c");
  project.addRecord();
  EXPECT_TRUE(project.recordById(1));
  project.activate(2, false);
  project.addAuxFile(2, "f", "");
  project.addTagGroup("g");
  project.addPathRegex("*", "t");
  project.addVariableRegex("*", project.getCaseIDColumn().lock());
}

TEST(Lifecycle, ResetAndClearEmptyTheProjectAndKeepTheTransactions) {
  for (bool const reset : {true, false}) {
    CurrentProject const project;
    EXPECT_EQ(stateOf(*project), freshState);
    Listener listener{*project};
    fill(*project);
    EXPECT_FALSE(project->empty());
    auto outer = project->startTransaction();
    auto inner = project->startTransaction();
    reset ? project->resetProject() : project->clearEntireProjectWithoutSignal();
    EXPECT_EQ(stateOf(*project), freshState);
    EXPECT_EQ(project->transactionDepth(), 2u);
    EXPECT_TRUE(project->empty());
    EXPECT_FALSE(project->recordById(1));
    EXPECT_EQ(project->addTagGroup("g").id(), 2u);
    inner.commit();
    outer.commit();
    EXPECT_EQ(listener.take(), reset ? (Lines{"reset", "journal 7001", "pre +g2", "change +g2"}) : Lines{});
  }
}

TEST(Lifecycle, ConnectionsOutliveTheProjectAndSlotsDoNot) {
  auto project = createProject();
  auto const kept = std::make_shared<int>();
  ScopedConnection first = project->connectProjectReset([kept] {});
  ScopedConnection const connection = std::move(first);
  EXPECT_TRUE(connection.connected());
  project.reset();
  EXPECT_FALSE(connection.connected());
  EXPECT_EQ(kept.use_count(), 1);
}

// What later versions are to bring is refused, and nothing changes.
TEST(Lifecycle, WhatIsNotBuiltIsRefused) {
  CurrentProject const project;
  fill(*project);
  auto const before = stateOf(*project);
  auto const refused = [&](auto&& call) {
    return refusalOf(call).ends_with(" is not available in this version. (true)");
  };
  EXPECT_TRUE(refused([&] { return project->auxFilesImage(2); }));
  EXPECT_TRUE(refused([&] { project->removeTags({"t"}); }));
  EXPECT_TRUE(refused([&] { project->merge({}, nullptr); }));
  EXPECT_TRUE(refused([&] { return project->variableRange(1); }));
  EXPECT_EQ(stateOf(*project), before);
}

}  // namespace
}  // namespace casebook
