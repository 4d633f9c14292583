/* Floor: a single-threaded C echo. Writes "READY", then answers every line
 * read from standard input with the reply given as its argument. Ends at end
 * of input; a signal ends it with the default action. */
#include <string.h>
#include <unistd.h>

int main(int argc, char** argv) {
  char reply[256];
  size_t reply_len = 0;
  if (argc > 1) {
    reply_len = strlen(argv[1]);
    if (reply_len > sizeof reply - 1) reply_len = sizeof reply - 1;
    memcpy(reply, argv[1], reply_len);
  }
  reply[reply_len++] = '\n';
  if (write(1, "READY\n", 6) != 6) return 1;
  char buffer[4096];
  for (;;) {
    ssize_t got = read(0, buffer, sizeof buffer);
    if (got <= 0) return 0;
    for (ssize_t i = 0; i < got; ++i) {
      if (buffer[i] == '\n' && write(1, reply, reply_len) != (ssize_t)reply_len) return 1;
    }
  }
}
