/// @file
/// The benchmarks. Each adds its rows to the session and leaves nothing behind.
#pragma once

#include "Harness.h"

namespace bench {

/// Reading one header against a bare pass of the parser library over the same file.
void MeasureRead(Session& session);
/// Loading a store against a bare pass over the same tree; ten times the policies; the memory that a policy takes.
void MeasureLoad(Session& session);
/// Passes over a cache and selections from it: ten times the policies.
void MeasureSelect(Session& session);
/// Policies with many categories and attributes, operations that name many: ten times the entries.
void MeasureEntries(Session& session);
/// The merge of settings policies against bare parsing; one changed policy against a rebuild; ten times the policies.
void MeasureSettings(Session& session);
/// Setting a value over the wire; the time from the install of a settings policy until a process is told.
void MeasureSettingsWire(Session& session);
/// Proofs of signed data files against the crypto library alone; a store of them by the tool.
void MeasureProof(Session& session);
/// Handshakes with certificates of both sides against the crypto library's own server; calls over TLS against plain.
void MeasureTls(Session& session);
/// Requests beside many connections that are idle or slow, against the same requests alone.
void MeasureCrowd(Session& session);
/// Requests beside calls of strangers without end, against the same requests alone.
void MeasureStrangers(Session& session);
/// An install over the wire against an echo of the same bytes with the same work on files.
void MeasureInstall(Session& session);
/// A long list over the wire against an echo of as many bytes.
void MeasureList(Session& session);
/// The groups and the name of a simulated cluster against its tools run by bare calls.
void MeasureCluster(Session& session);
/// A cycle of the monitor on a large cluster against its tools run by bare calls; the daemon between two cycles.
void MeasureMonitor(Session& session);
/// A change of many policies against the bare work on files; changes, lists and dry runs: ten times the policies.
void MeasureChange(Session& session);

}  // namespace bench
