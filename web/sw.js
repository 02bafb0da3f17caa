// Keeps the page's own files for use without a network: each is served from
// the cache and refreshed from the network when there is one. The user's
// EDIDs and configurations never pass through here; they stay in the tab.
'use strict';
const CACHE = 'edid-workbench';

self.addEventListener('fetch', (event) => {
  const url = new URL(event.request.url);
  if (event.request.method !== 'GET' || url.origin !== self.location.origin) return;
  event.respondWith(
    caches.open(CACHE).then(async (cache) => {
      try {
        const response = await fetch(event.request);
        if (response.ok) cache.put(event.request, response.clone());
        return response;
      } catch (error) {
        const cached = await cache.match(event.request);
        if (cached) return cached;
        throw error;
      }
    }),
  );
});
