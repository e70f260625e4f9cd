#include "pandas_peer.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace casebook::bench {

namespace {

// Debian's, which has pandas, whatever comes first on the path.
constexpr char const* interpreter = "/usr/bin/python3";

/// The script removes the files and their folder when it has read them.
std::filesystem::path newFolder() {
  auto name = (std::filesystem::temp_directory_path() / "casebook-bench-XXXXXX").string();
  if (!mkdtemp(name.data())) throw std::system_error{errno, std::generic_category(), name};
  return name;
}

}  // namespace

Contestant pandasContestant(std::string name, std::string lacks, std::string kind,
                            std::function<std::vector<Sheet>(u64 records)> sheets) {
  auto const run = [kind = std::move(kind), sheets = std::move(sheets)](u64 records) {
    auto const folder = newFolder();
    std::size_t number = 0;
    for (auto const& sheet : sheets(records)) writeSheet(folder / std::to_string(number++), sheet);
    execl(interpreter, interpreter, CASEBOOK_PANDAS_PEER, kind.c_str(), folder.c_str(), nullptr);
    throw std::system_error{errno, std::generic_category(), interpreter};
  };
  return {std::move(name), std::move(lacks), run};
}

}  // namespace casebook::bench
