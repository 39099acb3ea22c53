// A source of the os layer that reaches up: the include check must refuse the two in the middle.
#include "os/Console.h"

#include "rules/RulePackage.h"

#include "../core/Exception.h"

#include "res/TextIds.h"
