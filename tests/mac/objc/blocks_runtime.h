#include <Block.h> // GNUstep looks for it here; Debian has it there
