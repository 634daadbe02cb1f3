// One bus domain for each test that meets others on the bus, so that tests may run side by side.
#pragma once

namespace tessivar::testing {

enum DomainId {
  domain_late_joiner = 100,
  domain_removal,
  domain_killed,
  domain_interest,
  domain_changing_interest,
  domain_device_filter,
  domain_interest_seen,
  domain_shared_interest,
  domain_change,
  domain_refusal,
  domain_progress,
  domain_own_replies,
  domain_pipeline,
  domain_killed_in_request,
  domain_unanswered,
  domain_throwing_device,
  domain_throwing_client,
  domain_paused_device,
  domain_paused_client,
  domain_types,
  domain_two_participants,
  domain_ten_participants,
  domain_shared,
  domain_rounds,
  domain_clean_up_in_traffic,
  domain_two_routers,
  domain_all_routers,
  domain_resubscription,
  domain_resubscription_rounds,
  domain_killed_router,
  domain_route_change,
  domain_route_refusal,
  domain_route_progress,
  domain_unconnected_routes,
  domain_route_pipeline,
  domain_foreign_route,
  domain_routing_in_traffic,
  domain_large_router,
  domain_large_router_unbatched,
  domain_protection,
};

}  // namespace tessivar::testing
