/* Floor: the bytes of a report burst in one write. Loads the file named by
 * its argument, writes "READY", then writes the whole file with a single
 * write() for every line read from standard input. */
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  FILE* file = fopen(argv[1], "rb");
  if (file == NULL) return 2;
  static char block[1 << 20];
  size_t size = fread(block, 1, sizeof block, file);
  fclose(file);
  if (write(1, "READY\n", 6) != 6) return 1;
  char buffer[4096];
  for (;;) {
    ssize_t got = read(0, buffer, sizeof buffer);
    if (got <= 0) return 0;
    for (ssize_t i = 0; i < got; ++i) {
      if (buffer[i] == '\n' && write(1, block, size) != (ssize_t)size) return 1;
    }
  }
}
