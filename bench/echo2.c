/* Floor: a two-thread C echo. The main thread reads lines from standard
 * input and hands each to a second thread, which writes the reply given as
 * the argument: the shape of a command answered from a callback thread. */
#include <pthread.h>
#include <string.h>
#include <unistd.h>

static pthread_mutex_t mu = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t cv = PTHREAD_COND_INITIALIZER;
static unsigned long pending; /* guarded by mu */
static char reply[256];
static size_t reply_len;

static void* answer(void* unused) {
  (void)unused;
  for (;;) {
    pthread_mutex_lock(&mu);
    while (pending == 0) pthread_cond_wait(&cv, &mu);
    --pending;
    pthread_mutex_unlock(&mu);
    if (write(1, reply, reply_len) != (ssize_t)reply_len) _exit(1);
  }
  return NULL;
}

int main(int argc, char** argv) {
  if (argc > 1) {
    reply_len = strlen(argv[1]);
    if (reply_len > sizeof reply - 1) reply_len = sizeof reply - 1;
    memcpy(reply, argv[1], reply_len);
  }
  reply[reply_len++] = '\n';
  pthread_t thread;
  if (pthread_create(&thread, NULL, answer, NULL) != 0) return 1;
  if (write(1, "READY\n", 6) != 6) return 1;
  char buffer[4096];
  for (;;) {
    ssize_t got = read(0, buffer, sizeof buffer);
    if (got <= 0) _exit(0);
    for (ssize_t i = 0; i < got; ++i) {
      if (buffer[i] != '\n') continue;
      pthread_mutex_lock(&mu);
      ++pending;
      pthread_cond_signal(&cv);
      pthread_mutex_unlock(&mu);
    }
  }
}
