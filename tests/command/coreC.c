/* The header of the C functions as a C compiler reads it, in the example that CoreCTest.cpp runs. */
#include "examples/embed/query.c"
