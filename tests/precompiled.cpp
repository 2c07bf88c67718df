// The unit that precompiled.h is compiled with; CMake wants one.
