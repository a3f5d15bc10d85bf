#include "program.h"

int main(int argc, char** argv) {
    return robot::runProgram(argc, argv);
}
