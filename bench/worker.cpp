#include "worker.h"

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace casebook::bench {

namespace {

struct Pipe {
  int out;
  int in;

  Pipe() {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) throw std::system_error{errno, std::generic_category(), "pipe"};
    out = ends[0];
    in = ends[1];
  }
};

std::vector<std::string> fieldsOf(std::string const& line) {
  std::vector<std::string> fields;
  std::istringstream text{line};
  for (std::string field; std::getline(text, field, '\t');) fields.push_back(field);
  return fields;
}

void write(Report const& report) {
  std::cout.precision(17);
  for (auto const& [measure, unit, value] : report.figures())
    std::cout << "figure\t" << measure << '\t' << unit << '\t' << value << '\n';
  for (auto const& [name, value] : report.checks()) std::cout << "check\t" << name << '\t' << value << '\n';
  std::cout << "done" << std::endl;
}

/// Never returns. What is open in this process is the parent's: nothing is destroyed.
[[noreturn]] void become(Contestant const& contestant, u64 records) noexcept {
  try {
    contestant.run(records);
  } catch (std::exception const& error) {
    std::cout << "error\t" << error.what() << std::endl;
  }
  _exit(0);
}

}  // namespace

void serve(std::unique_ptr<Peer> peer) {
  std::cout << "ready" << std::endl;
  for (std::string line; std::getline(std::cin, line) && line == "round";) {
    Report report;
    peer->round(report);
    write(report);
  }
}

Worker::Worker(Contestant const& contestant, u64 records) : name_{contestant.name} {
  Pipe const down;
  Pipe const up;
  std::cout.flush();
  process_ = fork();
  if (process_ < 0) throw std::system_error{errno, std::generic_category(), "fork"};
  if (process_ == 0) {
    dup2(down.out, STDIN_FILENO);
    dup2(up.in, STDOUT_FILENO);
    for (int const end : {down.out, down.in, up.out, up.in}) close(end);
    become(contestant, records);
  }
  close(down.out);
  close(up.in);
  to_ = fdopen(down.in, "w");
  from_ = fdopen(up.out, "r");
}

// The end of the input would not do: processes that were started later hold the pipe as well.
Worker::~Worker() {
  std::fputs("end\n", to_);
  std::fclose(to_);
  std::fclose(from_);
  waitpid(process_, nullptr, 0);
}

void Worker::waitUntilReady() {
  if (answer().front() != "ready") throw std::runtime_error{name_ + " does not answer as it should"};
}

Report Worker::round() {
  std::fputs("round\n", to_);
  std::fflush(to_);
  Report report;
  for (auto fields = answer(); fields.front() != "done"; fields = answer())
    if (fields.front() == "figure") report.figure(fields.at(1), fields.at(2), std::stod(fields.at(3)));
    else report.check(fields.at(1), std::stoull(fields.at(2)));
  return report;
}

std::vector<std::string> Worker::answer() {
  std::string line;
  for (int c = std::getc(from_); c != '\n'; c = std::getc(from_)) {
    if (c == EOF) throw std::runtime_error{name_ + " ended too early"};
    line.push_back(static_cast<char>(c));
  }
  auto fields = fieldsOf(line);
  if (fields.empty() || fields.front() == "error") throw std::runtime_error{name_ + ": " + line};
  return fields;
}

}  // namespace casebook::bench
