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

/// A host's own kind of project: it counts the connections to each signal.
struct HostProject : Project {
  std::array<int, 4> connections{};

  void signalProjectChangePreConnected() override { ++connections[0]; }
  void signalProjectChangeConnected() override { ++connections[1]; }
  void signalProjectJournalConnected() override { ++connections[2]; }
  void signalProjectResetConnected() override { ++connections[3]; }
};

TEST(Lifecycle, TheCurrentProjectIsTheHostsElseTheProcesss) {
  auto* const before = std::exchange(projectPtr, nullptr);
  auto const& own = Project::project();
  EXPECT_EQ(projectPtr, &own);
  auto beside = createProject();
  EXPECT_EQ(&Project::project(), &own);
  projectPtr = beside.get();
  EXPECT_EQ(&currentProject(), beside.get());
  beside.reset();
  EXPECT_EQ(projectPtr, nullptr);
  projectPtr = before;
}

TEST(Lifecycle, AHostMayDeriveItsOwn) {
  HostProject host;
  Listener const all{host};
  auto const one = host.connectProjectJournal([](auto&) {});
  EXPECT_EQ(host.connections, (std::array{1, 1, 2, 1}));
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
  ScopedConnection const connection = project->connectProjectReset([kept] {});
  EXPECT_TRUE(connection.connected());
  project.reset();
  EXPECT_FALSE(connection.connected());
  EXPECT_EQ(kept.use_count(), 1);
}

TEST(Lifecycle, OnlyANewProjectIsRestoredAndNobodyHearsIt) {
  auto const notNew = "Only a new project can be restored. (true)";
  auto const original = createProject();
  original->addTagGroup("g");
  auto const checkpoint = original->checkpoint();
  Journal::Transaction const block{checkpoint.block, 0};
  CurrentProject const project;
  auto const restore = [&] { project->restore({&block, 1}, 9); };
  test::transact(*project, [&](Project& p) {
    EXPECT_EQ(refusalOf(restore), notNew);
    EXPECT_EQ(refusalOf([&] { (void)p.checkpoint(); }), "A checkpoint needs all transactions to be closed. (true)");
  });
  project->addRecord();
  EXPECT_EQ(refusalOf(restore), notNew);
  project->resetProject();
  Listener listener{*project};
  restore();
  project->startTransaction().commit();
  EXPECT_EQ(listener.take(), Lines{});
  EXPECT_EQ(stateOf(*project), stateOf(*original));
  EXPECT_EQ(project->addRecord().id(), 9u);
}

}  // namespace
}  // namespace casebook
