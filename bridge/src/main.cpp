#include "program.h"

int main(int argc, char** argv) {
    return bridge::runProgram(argc, argv);
}
