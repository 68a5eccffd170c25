// Asks for nothing here: the build names the libraries.
#pragma once
