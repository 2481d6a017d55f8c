/// NAME
///   postfix_ip_binding - sending a domain's mail from an address of its own
///
/// PURPOSE
///   A bound domain has a line in the domain-to-IP map, which leads its senders to the domain's own
///   service in master.cf, which binds to the address. Saving master.cf reloads Postfix, which then
///   reads the map as well: that is why the map is saved first where a line is new.

#include "email/access_db.h"
#include "postfix/domain_ips_db.h"
#include "postfix/ip_rout.h"
#include "postfix/master_cf.h"
#include "postfix/postfix_interface.h"

namespace zebpriv_email_postfix {

void PostfixInterface::BindDomainToIP(const std::string& domain, const std::string& address) {
  const std::string transport = TransportName(domain);
  {
    auto map = email::DomainIpsDb::Get<email::SourceTarget>(domainips_path, true);
    map->New();
    map->source.Set(DomIpsName(domain));
    map->target.Set(transport);
    map->Post("");
  }
  {
    auto service = email::MasterCf::Get<email::IpRouters>(master_path, true);
    service->New();
    service->transport.Set(transport);
    service->rout.Set(MasterCfIpRout(address));
    service->Post("");
  }
}

void PostfixInterface::CreateDomain(std::shared_ptr<zeb_db::EmailDomainTable>& domain) {
  email::SendmailLikeInterface::CreateDomain(domain);
  const std::string address = domain->ip.Str();
  if (!address.empty()) BindDomainToIP(domain->name.Str(), address);
}

void PostfixInterface::UpdateDomain(std::shared_ptr<zeb_db::EmailDomainTable>& domain) {
  email::SendmailLikeInterface::UpdateDomain(domain);
  if (RebindDomain(*domain)) return;
  const std::string address = domain->ip.Str();
  if (!address.empty()) BindDomainToIP(domain->name.Str(), address);
}

bool PostfixInterface::RebindDomain(const zeb_db::EmailDomainTable& domain) {
  auto map = email::DomainIpsDb::Get<email::SourceTarget>(domainips_path, true);
  auto service = email::MasterCf::Get<email::IpRouters>(master_path, true);
  if (!map->Find(DomIpsName(domain.name.Str()))) return false;
  service->Assert(map->target.Str());
  const std::string address = domain.ip.Str();
  if (address == BoundAddress(service->rout.Str())) return true;
  service->rout.Set(MasterCfIpRout(address));
  service->Post("");
  return true;
}

void PostfixInterface::DeleteDomain(std::shared_ptr<zeb_db::EmailDomainTable>& domain) {
  email::SendmailLikeInterface::DeleteDomain(domain);
  auto map = email::DomainIpsDb::Get<email::SourceTarget>(domainips_path, true);
  if (!map->Find(DomIpsName(domain->name.Str()))) return;
  // The service goes before the line that leads to it: were it the other way round, a failure in
  // between would leave a service that nobody finds any more.
  email::MasterCf::Get<email::IpRouters>(master_path, true)->Delete(map->target.Str());
  map->Delete();
}

void PostfixInterface::CacheOne(std::shared_ptr<zeb_db::EmailDomainTable>& domain) {
  auto map = email::DomainIpsDb::Get<email::SourceTarget>(domainips_path, true);
  if (!map->Find(DomIpsName(domain->name.Str()))) return;
  auto service = email::MasterCf::Get<email::IpRouters>(master_path, true);
  service->Assert(map->target.Str());
  domain->ip = BoundAddress(service->rout.Str());
}

}  // namespace zebpriv_email_postfix
