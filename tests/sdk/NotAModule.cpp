// A shared object in a module folder that is not a transport layer: the
// SDK must pass it by.
extern "C" __attribute__((visibility("default"))) int NotAModuleAnswer(void)
{
    return 42;
}
