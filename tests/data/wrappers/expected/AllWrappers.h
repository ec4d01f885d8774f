//AllWrappers.h : generated file

#pragma once
#pragma message("including AllWrappers.h")

#include "Core/BaseDotElementMinusKind.h"
#include "Core/Named_Item.h"
#include "Core/ORLO_class.h"
#include "Languages/Deep/Leaf.h"
#include "Edge.h"

//EOF
