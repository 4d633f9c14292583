// Entry point of vk-sony: start-up, dispatch and exit status live in
// run_command_line.
#include "app/command_line.h"

int main(int argc, char** argv) { return run_command_line(argc, argv); }
