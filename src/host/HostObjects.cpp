#include "host/HostObjects.h"

TObject::~TObject() = default;
