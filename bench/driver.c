/* The measuring side of scripts/bench: starts a program under test (side a)
 * and its floor (side b) with pipes on their standard input and output,
 * drives both the same way, interleaving the two sides, and prints one row
 * per side:
 *
 *   FIGURE <tab> SIDE <tab> UNIT <tab> N <tab> MIN <tab> P50 <tab> P90 <tab> P99 <tab> MAX
 *
 * Single-valued figures print the value in every statistic column. Samples
 * of timed figures also go to OUT/FIGURE.SIDE (one value a line) for the
 * histogram.
 *
 * Arguments are key=value pairs:
 *   mode=reply|burst|shutdown|startup|idle   what to measure
 *   name=FIGURE out=DIR n=COUNT cpu=CPU      (cpu: pin everything to it)
 *   stderr=FILE                              children's standard error (appended)
 *   a=COMMAND b=COMMAND                      run by /bin/sh -c "exec COMMAND"
 *   reply:    send=LINE[|LINE...] a_timed=PREFIX a_drain=PREFIX b_timed=...
 *             b_drain=...  rss=1 adds a row of the resident set size after
 *             warm-up and at the end
 *   burst:    a_fifo=PATH a_trigger=LINE b_trigger=LINE lines=COUNT
 *             capture=FILE (side a's first burst is written there before b
 *             starts, so b can replay the same bytes)
 *   shutdown: how=stdin|term|hup|control: closes standard input, sends
 *             SIGTERM or SIGHUP, or (control) writes a_trigger=LINE to the
 *             FIFO a_fifo=PATH of side a and closes standard input of side b
 *   startup:  a and b are split on blanks and started directly
 *   idle:     count=PROCESSES seconds=INTERVAL
 * Every program under test and every floor writes "READY" when it is ready
 * for input. */
#define _GNU_SOURCE
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <spawn.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

extern char** environ;

#define MAX_ARGS 32
#define TIMEOUT_S 20.0

static const char* keys[MAX_ARGS];
static const char* values[MAX_ARGS];
static int nargs;

static const char* arg(const char* key, const char* fallback) {
  for (int i = 0; i < nargs; ++i)
    if (strcmp(keys[i], key) == 0) return values[i];
  return fallback;
}

static void die(const char* format, ...) {
  va_list ap;
  va_start(ap, format);
  fputs("bench driver: ", stderr);
  vfprintf(stderr, format, ap);
  fputc('\n', stderr);
  va_end(ap);
  exit(1);
}

static double now_us(void) {
  struct timespec t;
  clock_gettime(CLOCK_MONOTONIC, &t);
  return t.tv_sec * 1e6 + t.tv_nsec / 1e3;
}

/* ---- children ---- */

typedef struct {
  pid_t pid;
  int in;  /* their standard input */
  int out; /* their standard output */
  char buf[1 << 17];
  size_t len;
  double stamp; /* time of the read() that completed the last line returned */
  const char* name;
} Child;

static void spawn(Child* c, const char* command, const char* name) {
  int to[2], from[2];
  if (pipe2(to, O_CLOEXEC) != 0 || pipe2(from, O_CLOEXEC) != 0) die("pipe: %s", strerror(errno));
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, to[0], 0);
  posix_spawn_file_actions_adddup2(&actions, from[1], 1);
  const char* errors = arg("stderr", NULL);
  if (errors != NULL)
    posix_spawn_file_actions_addopen(&actions, 2, errors, O_WRONLY | O_CREAT | O_APPEND, 0644);
  char* argv[] = {"sh", "-c", NULL, NULL};
  char line[4096];
  snprintf(line, sizeof line, "exec %s", command);
  argv[2] = line;
  if (posix_spawn(&c->pid, "/bin/sh", &actions, NULL, argv, environ) != 0) die("spawn %s", command);
  posix_spawn_file_actions_destroy(&actions);
  close(to[0]);
  close(from[1]);
  c->in = to[1];
  c->out = from[0];
  c->len = 0;
  c->name = name;
}

/* Next whole line (without '\n') into `line`; dies after TIMEOUT_S. */
static void read_line(Child* c, char* line, size_t cap) {
  const double deadline = now_us() + TIMEOUT_S * 1e6;
  for (;;) {
    char* newline = memchr(c->buf, '\n', c->len);
    if (newline != NULL) {
      size_t n = (size_t)(newline - c->buf);
      size_t copy = n < cap - 1 ? n : cap - 1;
      memcpy(line, c->buf, copy);
      line[copy] = '\0';
      memmove(c->buf, newline + 1, c->len - n - 1);
      c->len -= n + 1;
      return;
    }
    if (c->len == sizeof c->buf) die("%s: line too long", c->name);
    struct pollfd p = {c->out, POLLIN, 0};
    int left_ms = (int)((deadline - now_us()) / 1000);
    if (left_ms <= 0 || poll(&p, 1, left_ms) == 0) die("%s: no line within %.0f s", c->name, TIMEOUT_S);
    ssize_t got = read(c->out, c->buf + c->len, sizeof c->buf - c->len);
    c->stamp = now_us();
    if (got <= 0) die("%s: output ended", c->name);
    c->len += (size_t)got;
  }
}

static void wait_prefix(Child* c, const char* prefix) {
  char line[1 << 16];
  do read_line(c, line, sizeof line);
  while (strncmp(line, prefix, strlen(prefix)) != 0);
}

static void send_line(int fd, const char* text) {
  char line[1 << 12];
  int n = snprintf(line, sizeof line, "%s\n", text);
  if (write(fd, line, (size_t)n) != n) die("write: %s", strerror(errno));
}

static void finish(Child* c) {
  if (c->in >= 0) close(c->in);
  c->in = -1;
  kill(c->pid, SIGKILL);
  waitpid(c->pid, NULL, 0);
  close(c->out);
}

static long status_field(pid_t pid, const char* field) {
  char path[64], line[256];
  snprintf(path, sizeof path, "/proc/%d/status", (int)pid);
  FILE* f = fopen(path, "r");
  if (f == NULL) return -1;
  long value = -1;
  size_t len = strlen(field);
  while (fgets(line, sizeof line, f) != NULL)
    if (strncmp(line, field, len) == 0 && line[len] == ':') value = atol(line + len + 1);
  fclose(f);
  return value;
}

/* ---- statistics ---- */

static int compare(const void* x, const void* y) {
  double a = *(const double*)x, b = *(const double*)y;
  return a < b ? -1 : a > b;
}

static double quantile(const double* sorted, size_t n, double q) {
  return sorted[(size_t)(q * (double)(n - 1) + 0.5)];
}

static void print_row(const char* name, const char* side, const char* unit, double* v, size_t n) {
  const char* out = arg("out", NULL);
  if (out != NULL) {
    char path[4096];
    snprintf(path, sizeof path, "%s/%s.%s", out, name, side);
    FILE* f = fopen(path, "w");
    if (f == NULL) die("%s: %s", path, strerror(errno));
    for (size_t i = 0; i < n; ++i) fprintf(f, "%.2f\n", v[i]);
    fclose(f);
  }
  qsort(v, n, sizeof *v, compare);
  printf("%s\t%s\t%s\t%zu\t%.3f\t%.3f\t%.3f\t%.3f\t%.3f\n", name, side, unit, n, v[0], quantile(v, n, 0.5),
         quantile(v, n, 0.9), quantile(v, n, 0.99), v[n - 1]);
}

static void print_value(const char* name, const char* side, const char* unit, double value) {
  printf("%s\t%s\t%s\t1\t%.2f\t%.2f\t%.2f\t%.2f\t%.2f\n", name, side, unit, value, value, value, value,
         value);
}

/* ---- figures ---- */

static const char* side_names[2] = {"a", "b"};

static void start_pair(Child* c) {
  spawn(&c[0], arg("a", ""), "a");
  wait_prefix(&c[0], "READY");
  spawn(&c[1], arg("b", ""), "b");
  wait_prefix(&c[1], "READY");
}

static void mode_reply(void) {
  const long n = atol(arg("n", "1000"));
  const long warm = n / 10 < 100 ? n / 10 : 100;
  char sends[8][512];
  int nsends = 0;
  char copy[4096];
  snprintf(copy, sizeof copy, "%s", arg("send", ""));
  for (char *save = NULL, *s = strtok_r(copy, "|", &save); s != NULL && nsends < 8;
       s = strtok_r(NULL, "|", &save))
    snprintf(sends[nsends++], sizeof sends[0], "%s", s);
  if (nsends == 0) die("reply: no send=");
  const char* timed[2] = {arg("a_timed", "ACK"), arg("b_timed", "ACK")};
  const char* drain[2] = {arg("a_drain", ""), arg("b_drain", "")};
  static Child c[2];
  start_pair(c);
  double* samples[2] = {malloc(sizeof(double) * (size_t)n), malloc(sizeof(double) * (size_t)n)};
  long rss_warm[2] = {0, 0};
  size_t count = 0;
  for (long i = 0; i < n; ++i) {
    if (i == warm)
      for (int s = 0; s < 2; ++s) rss_warm[s] = status_field(c[s].pid, "VmRSS");
    for (int k = 0; k < 2; ++k) {
      const int s = (int)((i + k) % 2);
      const double t0 = now_us();
      send_line(c[s].in, sends[i % nsends]);
      wait_prefix(&c[s], timed[s]);
      const double t1 = c[s].stamp;
      if (drain[s][0] != '\0') wait_prefix(&c[s], drain[s]);
      if (i >= warm) samples[s][count] = t1 - t0;
    }
    if (i >= warm) ++count;
  }
  const char* name = arg("name", "reply");
  for (int s = 0; s < 2; ++s) print_row(name, side_names[s], "us", samples[s], count);
  if (atoi(arg("rss", "0")) != 0) {
    char rss_name[256];
    snprintf(rss_name, sizeof rss_name, "%s-rss-warm", name);
    for (int s = 0; s < 2; ++s) print_value(rss_name, side_names[s], "kB", (double)rss_warm[s]);
    snprintf(rss_name, sizeof rss_name, "%s-rss-end", name);
    for (int s = 0; s < 2; ++s)
      print_value(rss_name, side_names[s], "kB", (double)status_field(c[s].pid, "VmRSS"));
  }
  for (int s = 0; s < 2; ++s) finish(&c[s]);
}

/* Reads until `lines` lines have come; returns the time of the last read. */
static double wait_lines(Child* c, long lines, FILE* capture) {
  char line[1 << 16];
  for (long i = 0; i < lines; ++i) {
    read_line(c, line, sizeof line);
    if (capture != NULL) fprintf(capture, "%s\n", line);
  }
  return c->stamp;
}

static void mode_burst(void) {
  const long n = atol(arg("n", "200"));
  const long lines = atol(arg("lines", "1"));
  const long warm = n / 10 < 20 ? n / 10 : 20;
  static Child c[2];
  spawn(&c[0], arg("a", ""), "a");
  wait_prefix(&c[0], "READY");
  const int fifo = open(arg("a_fifo", ""), O_WRONLY | O_CLOEXEC);
  if (fifo < 0) die("%s: %s", arg("a_fifo", ""), strerror(errno));
  const char* capture_path = arg("capture", NULL);
  FILE* capture = capture_path != NULL ? fopen(capture_path, "w") : NULL;
  send_line(fifo, arg("a_trigger", ""));
  wait_lines(&c[0], lines, capture);
  if (capture != NULL) fclose(capture);
  spawn(&c[1], arg("b", ""), "b");
  wait_prefix(&c[1], "READY");
  const int trigger_fd[2] = {fifo, c[1].in};
  const char* trigger[2] = {arg("a_trigger", ""), arg("b_trigger", "go")};
  double* samples[2] = {malloc(sizeof(double) * (size_t)n), malloc(sizeof(double) * (size_t)n)};
  size_t count = 0;
  for (long i = 0; i < n; ++i) {
    for (int k = 0; k < 2; ++k) {
      const int s = (int)((i + k) % 2);
      const double t0 = now_us();
      send_line(trigger_fd[s], trigger[s]);
      const double t1 = wait_lines(&c[s], lines, NULL);
      if (i >= warm) samples[s][count] = t1 - t0;
    }
    if (i >= warm) ++count;
  }
  for (int s = 0; s < 2; ++s) print_row(arg("name", "burst"), side_names[s], "us", samples[s], count);
  close(fifo);
  for (int s = 0; s < 2; ++s) finish(&c[s]);
}

static void mode_shutdown(void) {
  const long n = atol(arg("n", "20"));
  const char* how = arg("how", "stdin");
  double* samples[2] = {malloc(sizeof(double) * (size_t)n), malloc(sizeof(double) * (size_t)n)};
  static Child c[2];
  for (long i = 0; i < n; ++i) {
    start_pair(c);
    for (int k = 0; k < 2; ++k) {
      const int s = (int)((i + k) % 2);
      int fifo = -1;
      if (s == 0 && strcmp(how, "control") == 0) {
        fifo = open(arg("a_fifo", ""), O_WRONLY | O_CLOEXEC);
        if (fifo < 0) die("%s: %s", arg("a_fifo", ""), strerror(errno));
      }
      const double t0 = now_us();
      if (strcmp(how, "term") == 0) {
        kill(c[s].pid, SIGTERM);
      } else if (strcmp(how, "hup") == 0) {
        kill(c[s].pid, SIGHUP);
      } else if (fifo >= 0) {
        send_line(fifo, arg("a_trigger", ""));
      } else {
        close(c[s].in);
        c[s].in = -1;
      }
      waitpid(c[s].pid, NULL, 0);
      samples[s][i] = (now_us() - t0) / 1000.0;
      if (fifo >= 0) close(fifo);
      if (c[s].in >= 0) close(c[s].in);
      close(c[s].out);
    }
  }
  for (int s = 0; s < 2; ++s) print_row(arg("name", "shutdown"), side_names[s], "ms", samples[s], (size_t)n);
}

static void split(char* text, char** argv, int cap) {
  int n = 0;
  for (char *save = NULL, *w = strtok_r(text, " ", &save); w != NULL && n < cap - 1;
       w = strtok_r(NULL, " ", &save))
    argv[n++] = w;
  argv[n] = NULL;
}

static void mode_startup(void) {
  const long n = atol(arg("n", "200"));
  const long warm = n / 10 < 20 ? n / 10 : 20;
  char text[2][4096];
  char* argv[2][16];
  for (int s = 0; s < 2; ++s) {
    snprintf(text[s], sizeof text[s], "%s", arg(side_names[s], ""));
    split(text[s], argv[s], 16);
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  double* samples[2] = {malloc(sizeof(double) * (size_t)n), malloc(sizeof(double) * (size_t)n)};
  size_t count = 0;
  for (long i = 0; i < n; ++i) {
    for (int k = 0; k < 2; ++k) {
      const int s = (int)((i + k) % 2);
      pid_t pid;
      int status;
      const double t0 = now_us();
      if (posix_spawn(&pid, argv[s][0], &actions, NULL, argv[s], environ) != 0) die("spawn %s", argv[s][0]);
      waitpid(pid, &status, 0);
      const double t1 = now_us();
      if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) die("%s failed", argv[s][0]);
      if (i >= warm) samples[s][count] = t1 - t0;
    }
    if (i >= warm) ++count;
  }
  for (int s = 0; s < 2; ++s) print_row(arg("name", "startup"), side_names[s], "us", samples[s], count);
}

/* Context switches (voluntary + involuntary) and CPU time in ns of every
 * thread of `pid`. */
static void thread_counts(pid_t pid, double* switches, double* cpu_ns) {
  char path[128];
  snprintf(path, sizeof path, "/proc/%d/task", (int)pid);
  DIR* dir = opendir(path);
  if (dir == NULL) die("%s: %s", path, strerror(errno));
  for (struct dirent* e; (e = readdir(dir)) != NULL;) {
    if (e->d_name[0] == '.') continue;
    char file[512], line[256];
    snprintf(file, sizeof file, "/proc/%d/task/%s/status", (int)pid, e->d_name);
    FILE* f = fopen(file, "r");
    if (f == NULL) continue;
    while (fgets(line, sizeof line, f) != NULL) {
      if (strncmp(line, "voluntary_ctxt_switches:", 24) == 0) *switches += atof(line + 24);
      if (strncmp(line, "nonvoluntary_ctxt_switches:", 27) == 0) *switches += atof(line + 27);
    }
    fclose(f);
    snprintf(file, sizeof file, "/proc/%d/task/%s/schedstat", (int)pid, e->d_name);
    f = fopen(file, "r");
    if (f == NULL) continue;
    double on_cpu = 0;
    if (fscanf(f, "%lf", &on_cpu) == 1) *cpu_ns += on_cpu;
    fclose(f);
  }
  closedir(dir);
}

static void mode_idle(void) {
  const int count = atoi(arg("count", "1"));
  const double seconds = atof(arg("seconds", "2"));
  Child* c = calloc((size_t)count * 2, sizeof(Child));
  for (int i = 0; i < count; ++i) {
    spawn(&c[2 * i], arg("a", ""), "a");
    spawn(&c[2 * i + 1], arg("b", ""), "b");
  }
  for (int i = 0; i < 2 * count; ++i) wait_prefix(&c[i], "READY");
  usleep(300000); /* let start-up work finish before the interval */
  double switches[2][2] = {{0}}, cpu[2][2] = {{0}};
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < 2 * count; ++i) thread_counts(c[i].pid, &switches[round][i % 2], &cpu[round][i % 2]);
    if (round == 0) usleep((useconds_t)(seconds * 1e6));
  }
  char name[256];
  for (int s = 0; s < 2; ++s) {
    snprintf(name, sizeof name, "%s-wakeups", arg("name", "idle"));
    print_value(name, side_names[s], "per s", (switches[1][s] - switches[0][s]) / seconds);
    snprintf(name, sizeof name, "%s-cpu", arg("name", "idle"));
    print_value(name, side_names[s], "% of a core", (cpu[1][s] - cpu[0][s]) / (seconds * 1e9) * 100.0);
  }
  for (int i = 0; i < 2 * count; ++i) finish(&c[i]);
}

int main(int argc, char** argv) {
  for (int i = 1; i < argc && nargs < MAX_ARGS; ++i) {
    char* eq = strchr(argv[i], '=');
    if (eq == NULL) die("argument without '=': %s", argv[i]);
    *eq = '\0';
    keys[nargs] = argv[i];
    values[nargs++] = eq + 1;
  }
  signal(SIGPIPE, SIG_IGN);
  const char* cpu = arg("cpu", NULL);
  if (cpu != NULL) {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(atoi(cpu), &set);
    if (sched_setaffinity(0, sizeof set, &set) != 0) die("cpu %s: %s", cpu, strerror(errno));
  }
  const char* mode = arg("mode", "");
  if (strcmp(mode, "reply") == 0) {
    mode_reply();
  } else if (strcmp(mode, "burst") == 0) {
    mode_burst();
  } else if (strcmp(mode, "shutdown") == 0) {
    mode_shutdown();
  } else if (strcmp(mode, "startup") == 0) {
    mode_startup();
  } else if (strcmp(mode, "idle") == 0) {
    mode_idle();
  } else {
    die("unknown mode=%s", mode);
  }
  return 0;
}
