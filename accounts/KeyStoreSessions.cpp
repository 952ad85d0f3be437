#include "accounts/KeyStore.h"
