#pragma once

// Which vector paths this process may take, decided once. MIRREL_CPU=baseline keeps every
// portable form, so both can be checked against the same outputs.
bool processorHasAvx2();
