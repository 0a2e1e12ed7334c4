#pragma once

#include <functional>
#include <string>

#include "Platform/HTTPSession.h"
#include "Platform/Result.h"

namespace tarn {

/// Receives the document's bytes, or the error that becomes the cause of 4010.
using FetchCompletion = std::function<void(Result<std::string> bytes)>;

/// Ends a fetch early: its completion is called soon, with an error (by custom `HTTPErrorCode::cancelled`).
/// Without effect after its end. Called on any thread.
using CancelFetch = std::function<void()>;

/// Fetches the bytes of a document, from wherever an application keeps them.
///
/// Called once a retrieval, on a background thread, with the document's URL and header fields. Must not block
/// for long. Calls the completion exactly once, on any thread, also before it returns. An empty `CancelFetch`
/// means that the fetch cannot be cancelled. May be called by several documents at the same time.
using Fetch = std::function<CancelFetch(HTTPRequest request, FetchCompletion completion)>;

}  // namespace tarn
