// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Marks the classes whose type information host and plug-in share, so that both see one type even
// when each is built with hidden visibility. Included by the other headers of the contract.

#ifndef LUMIQ_VISIBILITY_H
#define LUMIQ_VISIBILITY_H

#define LUMIQ_CONTRACT __attribute__((visibility("default")))

#endif  // LUMIQ_VISIBILITY_H
