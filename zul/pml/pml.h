// Everything of PML in one include: the value tree, the reader and parser, the writers, the
// reformatting entry points and the object-binding stream.
#pragma once

#include <zul/pml/ntv_listvalue.h>
#include <zul/pml/ntv_stringvalue.h>
#include <zul/pml/ntv_unit.h>
#include <zul/pml/pml_format.h>
#include <zul/pml/pml_parser.h>
#include <zul/pml/pml_reader.h>
#include <zul/pml/pml_show.h>
#include <zul/pml/pml_stream.h>
#include <zul/pml/pml_writer.h>
