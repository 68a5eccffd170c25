// Would look for keywords that are macros.
#pragma once
