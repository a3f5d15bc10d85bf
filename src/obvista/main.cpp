#include "start_up.h"

int main(int argc, char** argv) {
    return obvista::run(argc, argv);
}
