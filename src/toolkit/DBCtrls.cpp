#include "toolkit/DBCtrls.h"

TcxDBCheckBox::~TcxDBCheckBox() {
    if (DataSet()) DataSet()->RemoveObserver(this);
}

void TcxDBCheckBox::SetDataBinding(TDataSource* source, std::string fieldName) {
    if (DataSet()) DataSet()->RemoveObserver(this);
    source_ = source;
    fieldName_ = std::move(fieldName);
    if (DataSet()) DataSet()->AddObserver(this);
    Refresh();
}

TField* TcxDBCheckBox::Field() const {
    TdxMemData* t = DataSet();
    return t && t->Active() ? t->FindField(fieldName_) : nullptr;
}

bool TcxDBCheckBox::Editable() const {
    TdxMemData* t = DataSet();
    return Field() && !(t->Bof() && t->Eof());
}

void TcxDBCheckBox::Refresh() {
    TField* f = Field();
    TdxMemData* t = DataSet();
    bool value = false;
    if (f && !(t->Bof() && t->Eof()) && !f->IsNull()) value = f->AsBoolean();
    SetChecked(value);
}

void TcxDBCheckBox::DataEvent(TdxMemData&, TDataEvent event, TField* field) {
    if (event == TDataEvent::RecordChange && field && !SameName(field->FieldName(), fieldName_)) return;
    Refresh();
}

void TcxDBCheckBox::Clicked() {
    if (!Editable()) return;
    TdxMemData& t = *DataSet();
    bool value = !Checked();
    t.Edit();
    Field()->SetAsBoolean(value);
    if (ImmediatePost) t.Post();
    Refresh();
}

void TcxDBCheckBox::DescribeProperties(TPropertyList& list) const {
    TCheckBox::DescribeProperties(list);
    list.Add("DataSource", [this] { return Variant(source_ ? source_->Name : std::string()); });
    list.Add("DataField", [this] { return Variant(fieldName_); });
}
