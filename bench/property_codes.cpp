// Prints the code of every property the bridge knows, one "0x..." a line in
// table order, so that scripts/bench can give its simulated camera every
// property without reading the table's source.
#include <cstdio>

#include "properties/property_table.h"

int main() {
  for (const auto& row : propertyTable) std::printf("0x%X\n", static_cast<unsigned>(row.first));
  return 0;
}
