#include "desk.h"

#include <cstdlib>

#include <sys/wait.h>

namespace casebook::cli {
namespace {

/// What a shell makes of a line in which `casebook` is the built program.
Result shell(std::string const& line) {
  std::string const script = "casebook() { \"" CASEBOOK_PROGRAM "\" \"$@\"; }\n" + line;
  write("script.sh", script);
  int const status = std::system("bash script.sh > out.txt 2> err.txt");
  return {WEXITSTATUS(status), contentOf("out.txt"), contentOf("err.txt")};
}

// One process for each way in which the program meets the world; what the commands do is tested beside.
TEST(Program, MeetsShellPipesAndFullDisks) {
  struct Case {
    std::string line;
    int code;
    std::string out, err;
  };
  Desk desk;
  write("t.csv", "x,y\n1.5,a\n,\n");
  std::vector<Case> const cases{
      {"casebook create p.casebook && casebook import p.casebook - < t.csv | head -n 1", 0,
       "Created p.casebook.\nImported 2 cases from stdin.\n", ""},
      {"casebook export p.casebook --csv > /dev/full", 1, "",
       "casebook: stdout: Cannot be written: No space left on device.\n"},
      {"mkfifo gone; exec 3<>gone 4>gone 3<&-; casebook export p.casebook --json >&4", 1, "",
       "casebook: stdout: Cannot be written: Broken pipe.\n"},
      {"casebook set p.casebook 1 y b > /dev/full", 4, "",
       "casebook: The change is stored; stdout could not be written: No space left on device.\n"},
      {"casebook import p.casebook t.csv --mode append --dry-run > /dev/full", 1, "",
       "casebook: stdout: Cannot be written: No space left on device.\n"},
      {"casebook set p.casebook 1 y c >&-; casebook set p.casebook 1 y b > /dev/null", 0, "",
       "casebook: The change is stored; stdout could not be written: Bad file descriptor.\n"},
      {"casebook export p.casebook --csv >> p.casebook", 1, "",
       "casebook: stdout: This is the project's own file; the output needs another.\n"},
      {"casebook export p.casebook --csv -o /dev/stdout > o; cat o; ln -s /proc/self/fd/1 l; casebook export "
       "p.casebook "
       "--csv -o l >> o; wc -l < o",
       0, "Case ID,x,y\n1,1.5,b\n2,,\n6\n", ""},
      {"set -o pipefail; (ulimit -f 0; casebook set p.casebook 1 y c 2>&1) | cat", 1,
       "casebook: Cannot write p.casebook: File too large\n", ""},
      {"casebook export p.casebook --csv -o - | tail -n 2 | head -n 1", 0, "1,1.5,b\n", ""},
      {"mkfifo pipe; cat pipe & casebook export p.casebook --csv -o pipe; wait", 0, "Case ID,x,y\n1,1.5,b\n2,,\n", ""},
      {"casebook info none", 1, "",
       "casebook: Cannot open none: No such file or directory\nhint: casebook create FILE makes one.\n"},
      {"casebook infos none 2> /dev/null", 2, "", ""}};
  for (Case const& c : cases) {
    Result const result = shell(c.line);
    EXPECT_EQ(result.code, c.code) << c.line;
    EXPECT_EQ(result.out, c.out) << c.line;
    EXPECT_EQ(result.err, c.err) << c.line;
  }
}

}  // namespace
}  // namespace casebook::cli
