#include <gtest/gtest.h>

#include <cstdio>

#include "os/ResourceText.h"

// The tests read the program's own texts, from the resource library beside them.
int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    if (!kw::LoadResourceLibrary()) {
        std::fprintf(stderr, "the resource library is not beside the test program\n");
        return 1;
    }
    return RUN_ALL_TESTS();
}
