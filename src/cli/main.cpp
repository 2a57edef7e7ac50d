// The ggraph program. (The job runner comes in a later commit.)
#include <cstdio>

int main() {
    std::puts("ggraph 0.1.0");
    return 0;
}
