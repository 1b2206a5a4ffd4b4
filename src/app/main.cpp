#include "app/Entry.h"

int main(int argc, char** argv) {
    return vorn::Entry::main(argc, argv);
}
