// Umbrella header: includes every public header of zul.
#pragma once

#include <zul/base/api.h>
#include <zul/base/base_type_string.h>
#include <zul/base/exception.h>
#include <zul/base/raise.h>
