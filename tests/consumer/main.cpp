#include <casebook/casebook.h>
#include <casebook/file.h>

namespace {

// Casebook's own warnings would refuse the unused parameter and the narrowing alike.
int careless(int unused, double value) {
  const int narrowed = value;
  return narrowed;
}

}  // namespace

int main() { return casebook::Variant{0.5}.toString() == "0.5" ? careless(1, 0.5) : 1; }
