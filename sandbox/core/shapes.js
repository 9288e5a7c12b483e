// ===========================================================================
// Answer shapes
// ===========================================================================

// Puts an outcome ({code, message, data}) into one of the answer forms the
// library accepts. A failure always carries `data: null` in the flat form so
// that its code survives conversion; the payload-only forms cannot express a
// failure, so "result" falls back to the nested form and "bare" to the flat.
function shapeAnswer(outcome, shape) {
  const data = outcome.data === undefined ? null : outcome.data;
  const flat = { code: outcome.code, message: outcome.message, data: outcome.code === 0 ? data : null };
  switch (shape) {
    case 'nested': return { result: flat };
    case 'result': return outcome.code === 0 ? { result: data } : { result: flat };
    case 'bare': return outcome.code === 0 ? data : flat;
    case 'json': return JSON.stringify(flat);
    default: return flat;
  }
}

