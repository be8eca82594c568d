#pragma once
class ToznFDConnection;

// The stored results of the normative method written anew from their stored inputs, as the batch writes them:
// for every element and period with a stored row, the equivalent length, k0.4 and the loss when the method gives
// a loss it accepts, and no result (NULL) otherwise. For a generated network, whose inputs come first. One
// transaction; returns the rows written.
int RecalculateStoredNormative(ToznFDConnection& connection);
