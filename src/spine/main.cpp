#include "spine/process.h"

int main() {
    return kes::runProcess();
}
