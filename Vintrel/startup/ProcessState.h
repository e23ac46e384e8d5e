#pragma once

/// Mends what whoever started the program may have left in a state that the core does not expect. First thing
/// in main.
void prepareProcess();
