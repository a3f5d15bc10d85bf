#include "command_line/program.h"

int main(int argc, char** argv) {
    return robaxi_tool::runProgram(argc, argv);
}
