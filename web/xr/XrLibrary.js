// The WebXR Device API for the page's C++ (emscripten 3.1.6 has no bindings of its own), linked
// with --js-library. One immersive-ar session at a time: its 'local' reference space is the
// world, its XRWebGLLayer draws on the page's WebGL 2 context, its hit-test sources answer
// feature-point hit tests and its anchors follow the ones the app adds. The C++ side
// (web/xr/XrSession.cpp) pulls what it needs from the current XR frame through these functions;
// matrices are 16 floats, column-major, in the local space unless said otherwise.

mergeInto(LibraryManager.library, {
  $orreryXr: {
    session: null, local: null, viewer: null, layer: null, frame: null, pose: null,
    transientSource: null,  // a hit-test source for screen touches, where the browser offers one
    lastTransient: null,    // {time, hits}: what the latest touch on the screen hit
    requests: null,         // Map id -> {source, hits}: offset-ray hit tests asked for
    anchors: null,          // Map id -> {anchor, failed}: XR anchors mirroring the app's
    // What hit tests look for, most wanted first: feature points as ARKit's hit test finds them,
    // with planes besides; a browser that refuses points gets planes alone (WebXR's default).
    entityTypeChoices: [['point', 'plane'], ['plane']],
    entityTypes: null,      // the choice the browser took, once one was taken
    time: 0,
    write: function (pointer, values) { HEAPF32.set(values, pointer >> 2); },
    // Asks for a hit-test source with each entity-type choice in turn until the browser takes
    // one (it refuses types it does not offer), then keeps to that choice. Told once, for whoever
    // checks a new browser: which entities its hit tests find.
    withEntityTypes: async function (ask) {
      const xr = orreryXr;
      const from = xr.entityTypes ? xr.entityTypeChoices.indexOf(xr.entityTypes) : 0;
      for (let choice = from; ; ++choice) {
        try {
          const source = await ask(xr.entityTypeChoices[choice]);
          if (!xr.entityTypes) {
            xr.entityTypes = xr.entityTypeChoices[choice];
            Module['orreryXrHitEntities'] = xr.entityTypes.join(',');
            console.info('orrery: hit tests find ' + Module['orreryXrHitEntities']);
          }
          return source;
        } catch (error) {
          if (xr.entityTypes || choice + 1 >= xr.entityTypeChoices.length) throw error;
        }
      }
    },
    hitMatrices: function (results) {
      // Feature points: where the ray meets the surface; the orientation is the app's to choose.
      return results.map((result) => {
        const m = result.getPose(orreryXr.local).transform.matrix;
        return [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, m[12], m[13], m[14], 1];
      });
    },
    onFrame: function (time, frame) {
      const xr = orreryXr;
      if (!xr.session) return;
      xr.session.requestAnimationFrame(xr.onFrame);
      xr.frame = frame;
      xr.time = time / 1000;
      xr.pose = frame.getViewerPose(xr.local);
      for (const request of xr.requests.values()) {
        if (!request.source || request.hits) continue;
        try {
          request.hits = xr.hitMatrices(frame.getHitTestResults(request.source));
          request.source.cancel();
        } catch (e) { /* not computed for this frame yet */ }
      }
      if (xr.transientSource) {
        for (const each of frame.getHitTestResultsForTransientInput(xr.transientSource))
          xr.lastTransient = { time: xr.time, hits: xr.hitMatrices(each.results) };
      }
      const gl = GL.currentContext.GLctx;
      gl.bindFramebuffer(gl.FRAMEBUFFER, xr.layer.framebuffer);
      try {
        Module['_orrery_xr_frame'](xr.time);
      } finally {
        xr.frame = null;
      }
    },
  },

  // Whether a session runs.
  orrery_xr_running__deps: ['$orreryXr'],
  orrery_xr_running: function () { return orreryXr.session ? 1 : 0; },

  // Asks for an immersive-ar session; call it while handling a user's press. The page's
  // _orrery_xr_started follows when it runs, _orrery_xr_ended when it ends, Module.onOrreryXrFailed
  // when it cannot start.
  orrery_xr_request__deps: ['$orreryXr', '$GL'],
  orrery_xr_request: function () {
    const xr = orreryXr;
    if (xr.session || !navigator.xr) return;
    xr.requests = new Map();
    xr.anchors = new Map();
    const overlay = document.getElementById('xr-overlay');
    const init = { requiredFeatures: ['hit-test', 'anchors'], optionalFeatures: ['dom-overlay'] };
    if (overlay) init.domOverlay = { root: overlay };
    const gl = GL.currentContext.GLctx;
    navigator.xr.requestSession('immersive-ar', init).then(async (session) => {
      try {
        await gl.makeXRCompatible();
        xr.layer = new XRWebGLLayer(session, gl);
        session.updateRenderState({ baseLayer: xr.layer });
        xr.local = await session.requestReferenceSpace('local');
        xr.viewer = await session.requestReferenceSpace('viewer');
        if (session.requestHitTestSourceForTransientInput) {
          try {
            xr.transientSource = await xr.withEntityTypes((entityTypes) =>
              session.requestHitTestSourceForTransientInput({ profile: 'generic-touchscreen', entityTypes }));
          } catch (e) { xr.transientSource = null; }
        }
      } catch (error) {
        session.end();
        throw error;
      }
      session.addEventListener('end', () => {
        xr.session = xr.local = xr.viewer = xr.layer = xr.transientSource = xr.lastTransient = null;
        xr.entityTypes = null;
        xr.requests.clear();
        xr.anchors.clear();
        Module['_orrery_xr_ended']();
      });
      xr.session = session;
      Module['_orrery_xr_started']();
      session.requestAnimationFrame(xr.onFrame);
    }).catch((error) => {
      if (Module['onOrreryXrFailed']) Module['onOrreryXrFailed'](String(error));
    });
  },

  orrery_xr_end__deps: ['$orreryXr'],
  orrery_xr_end: function () { if (orreryXr.session) orreryXr.session.end(); },

  // The viewer's pose into `out` (16 floats); 0 when tracking has no pose this frame.
  orrery_xr_viewer__deps: ['$orreryXr'],
  orrery_xr_viewer: function (out) {
    const pose = orreryXr.pose;
    if (!pose) return 0;
    orreryXr.write(out, pose.transform.matrix);
    return 1;
  },

  // The views of this frame with pixels to draw (a mono session may report an empty second
  // one): per view 36 floats into `out`, the view matrix (world to eye), the projection and the
  // viewport (x, y from the bottom left, width, height). Returns how many, at most `most`.
  orrery_xr_views__deps: ['$orreryXr'],
  orrery_xr_views: function (out, most) {
    const xr = orreryXr;
    if (!xr.pose) return 0;
    let count = 0;
    for (const view of xr.pose.views) {
      const viewport = xr.layer.getViewport(view);
      if (!viewport || viewport.width <= 0 || viewport.height <= 0 || count >= most) continue;
      const at = out + count * 36 * 4;
      xr.write(at, view.transform.inverse.matrix);
      xr.write(at + 64, view.projectionMatrix);
      xr.write(at + 128, [viewport.x, viewport.y, viewport.width, viewport.height]);
      ++count;
    }
    return count;
  },

  // Asks for the surfaces along a ray from the viewer in direction (x, y, z) of the viewer's
  // space; the answer is there on a later frame (orrery_xr_take_hits with the same id).
  orrery_xr_request_hits__deps: ['$orreryXr'],
  orrery_xr_request_hits: function (id, x, y, z) {
    const xr = orreryXr;
    if (!xr.session) return;
    const request = { source: null, hits: null };
    xr.requests.set(id, request);
    xr.withEntityTypes((entityTypes) => xr.session.requestHitTestSource({
      space: xr.viewer,
      offsetRay: new XRRay({ x: 0, y: 0, z: 0, w: 1 }, { x, y, z, w: 0 }),
      entityTypes,
    })).then((source) => {
      if (xr.requests.get(id) === request) request.source = source;
      else source.cancel();
    }, () => { request.hits = []; });
  },

  // The hits of request `id`, nearest first, into `out` (16 floats each, at most `most`):
  // how many, or -1 while they are not known yet. A known answer is forgotten once taken.
  orrery_xr_take_hits__deps: ['$orreryXr'],
  orrery_xr_take_hits: function (id, out, most) {
    const request = orreryXr.requests.get(id);
    if (!request) return 0;
    if (!request.hits) return -1;
    orreryXr.requests.delete(id);
    const hits = request.hits.slice(0, most);
    hits.forEach((m, i) => orreryXr.write(out + i * 64, m));
    return hits.length;
  },

  // What the latest touch on the screen hit, if the browser offers hit tests for touches and
  // one was seen within `age` seconds: as orrery_xr_take_hits, -1 when there is none.
  orrery_xr_transient_hits__deps: ['$orreryXr'],
  orrery_xr_transient_hits: function (age, out, most) {
    const last = orreryXr.lastTransient;
    if (!last || orreryXr.time - last.time > age) return -1;
    const hits = last.hits.slice(0, most);
    hits.forEach((m, i) => orreryXr.write(out + i * 64, m));
    return hits.length;
  },

  // Anchors the session tracks: `id` at position (px, py, pz) and orientation quaternion
  // (qx, qy, qz, qw) in the local space. Only while a frame is being handled.
  orrery_xr_create_anchor__deps: ['$orreryXr'],
  orrery_xr_create_anchor: function (id, px, py, pz, qx, qy, qz, qw) {
    const xr = orreryXr;
    const entry = { anchor: null, failed: false };
    xr.anchors.set(id, entry);
    if (!xr.frame || !xr.frame.createAnchor) {
      entry.failed = true;
      return;
    }
    const pose = new XRRigidTransform({ x: px, y: py, z: pz, w: 1 }, { x: qx, y: qy, z: qz, w: qw });
    xr.frame.createAnchor(pose, xr.local).then((anchor) => { entry.anchor = anchor; },
                                               () => { entry.failed = true; });
  },

  // Where anchor `id` is now: 1 with its pose in `out`; 0 while it is not tracked (yet);
  // -1 when the session could not make it.
  orrery_xr_anchor_pose__deps: ['$orreryXr'],
  orrery_xr_anchor_pose: function (id, out) {
    const xr = orreryXr;
    const entry = xr.anchors.get(id);
    if (!entry || entry.failed) return -1;
    if (!entry.anchor || !xr.frame || !xr.frame.trackedAnchors || !xr.frame.trackedAnchors.has(entry.anchor)) return 0;
    const pose = xr.frame.getPose(entry.anchor.anchorSpace, xr.local);
    if (!pose) return 0;
    xr.write(out, pose.transform.matrix);
    return 1;
  },
});
