#include "CommandLine.h"

int main(int argc, char** argv) { return tessaly::cli::run({argv + (argc > 0 ? 1 : 0), argv + argc}); }
