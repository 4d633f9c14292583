/* Floor of the start-up figure: a static C program printing two lines. */
#include <stdio.h>

int main(void) {
  puts("hello 1.0.0");
  puts("built with the C library");
  return 0;
}
